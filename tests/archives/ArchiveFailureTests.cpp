// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/archives/ArchiveTest.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

/// A run in which one system call always fails.
class ArchiveFailure : public ArchiveTest {
 protected:
  ArchiveFailure() {
    makeFile("item/folder/file");
    makeLink("item/link", "folder");
    EXPECT_TRUE(pack(path("item"), path("whole.zip")));
    makeFile("there/item/link", "a file");
    makeFile("there/item/folder/file", "a file");
    makeFile("old.zip", "old");
  }

  std::string packing(long call, int error = EIO, int onlyWithFlags = -1) {
    return problemOf(call, error, onlyWithFlags, [&] { return pack(path("item"), path("old.zip")); });
  }
  std::string unpacking(long call, int error = EIO, int onlyWithFlags = -1) {
    return problemOf(call, error, onlyWithFlags, [&] { return unpack(path("whole.zip"), path("new")); });
  }
  std::string merging(long call, int error = EIO, int onlyWithFlags = -1) {
    return problemOf(call, error, onlyWithFlags, [&] { return unpack(path("whole.zip"), path("there")); });
  }

 private:
  /// Runs in a child, because a filter cannot be removed; the reason is passed in a file.
  template <class Run>
  std::string problemOf(long call, int error, int onlyWithFlags, const Run& run) {
    const auto before = snapshot(path(""));
    writeFile(path("reason"), "");
    const int reason = ::open(path("reason").c_str(), O_WRONLY | O_CLOEXEC);
    inChild([&] {
      failSystemCall(call, error, onlyWithFlags);
      const std::string text = run().localizedDescription();
      // Another call than those that fail.
      iovec bytes{const_cast<char*>(text.data()), text.size()};
      EXPECT_EQ(::pwritev(reason, &bytes, 1, 0), static_cast<ssize_t>(text.size()));
    });
    ::close(reason);
    const std::string text = contentsOf(path("reason"));
    EXPECT_EQ(::unlink(path("reason").c_str()), 0);
    if (!text.empty()) {
      EXPECT_EQ(snapshot(path("")), before) << text;
    }
    return text;
  }
};

const std::string kBroken = "Input/output error";

TEST_F(ArchiveFailure, OfMakingAnArchiveLeavesTheOldOne) {
  EXPECT_EQ(packing(SYS_renameat), path("old.zip") + ": " + kBroken);
  EXPECT_EQ(packing(SYS_fchmod), path("old.zip") + ": " + kBroken);
  EXPECT_EQ(packing(SYS_readlinkat), "item/link: " + kBroken);
  EXPECT_EQ(packing(SYS_read), "item/folder/file: " + kBroken);
  EXPECT_EQ(packing(SYS_write, ENOSPC), path("old.zip") + ": No space left on device");
  EXPECT_EQ(packing(SYS_close), path("old.zip") + ": " + kBroken);
  EXPECT_EQ(packing(SYS_getdents64), "item: " + kBroken);
}

TEST_F(ArchiveFailure, OfReadingAFolderBelowTellsItsWholeName) {
  makeFile("item/folder/a/file");
  makeFile("item/folder/b/file");
  ASSERT_EQ(::unlink(path("item/folder/file").c_str()) + ::unlink(path("item/link").c_str()), 0);
  int asked = 0;
  isStopped = [&] {
    // At the first file, in the fourth step: three folders were entered before.
    if (++asked == 4) failSystemCall(SYS_getdents64, EIO);
    return false;
  };
  // It does not matter which of the two is the second.
  const std::string problem = packing(SYS_fstatfs);
  EXPECT_TRUE(problem == "item/folder/a: " + kBroken || problem == "item/folder/b: " + kBroken) << problem;
}

TEST_F(ArchiveFailure, OfUnpackingLeavesNothing) {
  EXPECT_EQ(unpacking(SYS_renameat2), path("new") + ": " + kBroken);
  EXPECT_EQ(unpacking(SYS_mkdirat), path("new") + ": " + kBroken);
  EXPECT_EQ(unpacking(SYS_symlinkat), "item/link: " + kBroken);
  EXPECT_EQ(unpacking(SYS_fchmod), "item/folder/file: " + kBroken);
  EXPECT_EQ(unpacking(SYS_utimensat), "item/link: " + kBroken);
  EXPECT_EQ(unpacking(SYS_write, ENOSPC), "item/folder/file: No space left on device");
  EXPECT_NE(unpacking(SYS_pread64), "");
  EXPECT_EQ(unpacking(SYS_close), "item/folder/file: " + kBroken);
  EXPECT_EQ(unpacking(SYS_fstatfs), "");  // the free space is not known
}

TEST_F(ArchiveFailure, IsNoneWhereAVolumeKeepsNeitherPermissionsNorTimes) {
  makeFolder("item/empty", 0700);
  ASSERT_TRUE(pack(path("item"), path("whole.zip")));
  for (const long call : {SYS_fchmod, SYS_chmod, SYS_utimensat}) {
    for (const int error : {ENOTSUP, EPERM}) {
      EXPECT_EQ(unpacking(call, error), "") << call;
      EXPECT_EQ(contentsOf(path("new/item/folder/file")), "contents");
      EXPECT_TRUE(isThere(path("new/item/empty")));
      std::filesystem::remove_all(path("new"));
    }
  }
}

// Another process in the same folder.

class ArchiveAmongOthers : public ArchiveFailure {
 protected:
  /// The unfinished item in the scratch folder; "" if there is none.
  std::string hidden() const {
    for (const auto& entry : std::filesystem::directory_iterator(path("")))
      if (entry.path().filename().string().starts_with(".incomplete-")) return entry.path();
    return {};
  }

  /// Replaces the unfinished folder by another user's.
  void swap() {
    swapped_ = hidden();
    ASSERT_FALSE(swapped_.empty());
    std::filesystem::rename(swapped_, path("taken"));
    std::filesystem::rename(path("theirs"), swapped_);
  }

  void expectTheirsKept() const {
    const std::string theirs = hidden();
    EXPECT_EQ(contentsOf(theirs + "/file"), "kept");
    EXPECT_EQ(attributesOf(theirs).st_mode & 07777, 0755U);
    EXPECT_FALSE(isThere(path("new")));
  }

 private:
  std::string swapped_;
};

TEST_F(ArchiveAmongOthers, RemovesNothingThatTookThePlaceOfTheUnfinishedFolder) {
  makeFile("theirs/file", "kept");
  isStopped = [this] {
    if (isThere(path("theirs"))) swap();
    return true;
  };
  EXPECT_FALSE(unpack(path("whole.zip"), path("new")));
  expectTheirsKept();
}

TEST_F(ArchiveAmongOthers, GivesTheNameToNothingElseThanTheFolderThatItFilled) {
  makeFile("theirs/file", "kept");
  isStopped = [this] {
    if (isThere(path("theirs"))) swap();
    return false;
  };
  EXPECT_EQ(unpack(path("whole.zip"), path("new")).code(), ESTALE);
  expectTheirsKept();
}

TEST_F(ArchiveAmongOthers, PutsNothingIntoAFolderThatTookThePlaceOfTheNewOne) {
  makeFile("theirs/file", "kept");
  inChild([this] {
    afterSystemCall(SYS_mkdirat, [this] { swap(); });
    EXPECT_EQ(unpack(path("whole.zip"), path("new")).code(), ESTALE);
  });
  expectTheirsKept();
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(hidden()), {}), 1);
}

TEST_F(ArchiveAmongOthers, OpensUpNoFolderThatTookThePlaceOfOneThatItMade) {
  makeFolder("existing");
  const std::string folder = path("existing/item/folder");
  isStopped = [this, folder] {
    if (isThere(folder + "/file") && !isThere(path("taken"))) {
      std::filesystem::rename(folder, path("taken"));
      makeFolder("existing/item/folder", 0700);
    }
    return false;
  };
  const platform::Status status = unpack(path("whole.zip"), path("existing"));
  ASSERT_TRUE(isThere(path("taken")));
  EXPECT_EQ(status.code(), ESTALE) << status.localizedDescription();
  EXPECT_EQ(attributesOf(folder).st_mode & 07777, 0700U);
}

TEST_F(ArchiveAmongOthers, OpensUpNoFolderThatTookThePlaceOfOneWhoseContentsItSettles) {
  makeFile("deep/folder/inner/file");
  ASSERT_TRUE(pack(path("deep"), path("deep.zip")));
  makeFolder("existing");
  makeFolder("strangers", 0700);
  runInPrivateMachine([this] {
    inChild([this] {
      // The innermost folder gets its permissions first. On the way up the two others are elsewhere.
      afterSystemCall(SYS_chmod, [this] {
        std::filesystem::rename(path("existing/deep/folder"), path("taken-folder"));
        std::filesystem::rename(path("existing/deep"), path("taken"));
        std::filesystem::rename(path("strangers"), path("existing/deep"));
      });
      EXPECT_EQ(unpack(path("deep.zip"), path("existing")).code(), ESTALE);
    });
  });
  EXPECT_TRUE(isThere(path("taken-folder/inner/file")));
  EXPECT_EQ(attributesOf(path("existing/deep")).st_mode & 07777, 0700U);
}

TEST_F(ArchiveAmongOthers, PutsNothingIntoAFolderThatTookThePlaceOfOneThatItMade) {
  makeFolder("existing");
  makeFolder("strangers");
  runInPrivateMachine([this] {
    ASSERT_EQ(::chown(path("strangers").c_str(), 1000, 1000), 0);
    inChild([this] {
      afterSystemCall(SYS_mkdirat, [this] {
        std::filesystem::rename(path("existing/item"), path("taken"));
        std::filesystem::rename(path("strangers"), path("existing/item"));
      });
      EXPECT_EQ(unpack(path("whole.zip"), path("existing")).code(), ESTALE);
    });
  });
  EXPECT_TRUE(isThere(path("taken")));
  EXPECT_TRUE(std::filesystem::is_empty(path("existing/item")));
}

TEST_F(ArchiveAmongOthers, RemovesNothingThatTookTheNameOfAnUnfinishedFile) {
  makeFolder("existing");
  makeFile("theirs", "kept");
  const std::string file = path("existing/item/folder/file");
  isStopped = [&] {
    if (!isThere(file)) return false;
    std::filesystem::rename(path("theirs"), file);
    return true;
  };
  EXPECT_FALSE(unpack(path("whole.zip"), path("existing")));
  EXPECT_EQ(contentsOf(file), "kept");
}

TEST_F(ArchiveFailure, OfMergingLeavesWhatWasThere) { EXPECT_EQ(merging(SYS_renameat), "item/link: " + kBroken); }

}  // namespace
}  // namespace qm::testing
