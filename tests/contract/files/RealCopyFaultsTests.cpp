// SPDX-License-Identifier: MIT
#include <linux/fs.h>
#include <sys/fsuid.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/xattr.h>

#include <csignal>
#include <functional>
#include <utility>
#include <vector>

#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/Move.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/files/RealFiles.h"

/// Failures that occur late, or only on some volumes, while something is copied.
namespace qm::testing {
namespace {

namespace fs = std::filesystem;

/// Acts as soon as the first bytes of a file are in the copy.
class OnFirstBytes : public posix::CopyObserver {
 public:
  explicit OnFirstBytes(std::function<void()> action) : action_(std::move(action)) {}
  int bytesCopied(std::uint64_t) override {
    if (action_) std::exchange(action_, nullptr)();
    return 0;
  }

 private:
  std::function<void()> action_;
};

/// The open descriptor of the file that is hidden in a folder at present; -1 if there is none.
int descriptorOfHiddenFile(const std::string& folder) {
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code error;
    const std::string path = fs::read_symlink(entry.path(), error).string();
    if (path.starts_with(folder + "/.incomplete-") && fs::is_regular_file(path, error))
      return std::stoi(entry.path().filename().string());
  }
  return -1;
}

/// Network file systems report only then that they could not store what was written.
TEST(CopyingWithFaults, FailsWithTheErrorThatOnlyTheClosingTells) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    for (const int error : {ENOSPC, EDQUOT, EIO}) {
      for (const char* source : {"/tree/file", "/tree"}) {
        inChild([&] {
          OnFirstBytes observer([&] { failSystemCallOn(descriptorOfHiddenFile(to), SYS_close, error); });
          EXPECT_EQ(posix::copyTree(from + source, to + "/copy", observer).code, error);
        });
        EXPECT_EQ(countIn(to), 0U) << source;
      }
    }
  });
}

TEST(CopyingWithFaults, TakesAnInterruptedClosingForAnEnd) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/file", "text");
    inChild([&] {
      OnFirstBytes observer([&] { failSystemCallOn(descriptorOfHiddenFile(to), SYS_close, EINTR); });
      EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", observer).code, 0);
    });
    EXPECT_EQ(textOf(to + "/copy"), "text");
  });
}

TEST(CopyingWithFaults, FailsAtALimitOfSizesAndLeavesNothing) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFile(from + "/big", std::string(5'000'000, 'b'));
    makeFile(from + "/small", std::string(50'000, 's'));
    for (const char* name : {"/big", "/small"}) {
      inChild([&] {
        ::signal(SIGXFSZ, SIG_IGN);  // as the program has it
        const rlimit limit{10'000, 10'000};
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + name, to + "/copy", nobody).code, EFBIG);
      });
      EXPECT_EQ(countIn(to), 0U) << name;
    }
  });
}

TEST(CopyingWithFaults, LeavesAttributesBehindThatTheOtherVolumeHasNoRoomFor) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    ASSERT_EQ(::symlink("file", (from + "/tree/link").c_str()), 0);
    for (const char* name : {"/tree", "/tree/file", "/tree/link"})
      ASSERT_EQ(::lsetxattr((from + name).c_str(), "security.note", "n", 1, 0), 0) << errno;
    for (const int error : {ENOSPC, E2BIG, ERANGE}) {
      const std::string copy = to + "/" + std::to_string(error);
      inChild([&] {
        for (const long call : {SYS_setxattr, SYS_lsetxattr, SYS_fsetxattr}) failSystemCall(call, error);
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + "/tree", copy, nobody).code, 0);
      });
      ASSERT_TRUE(isThere(copy + "/file")) << error;
      EXPECT_EQ(textOf(copy + "/file"), "text");
      EXPECT_EQ(::getxattr(copy.c_str(), "security.note", nullptr, 0), -1);
    }
    inChild([&] {
      failSystemCall(SYS_fsetxattr, EIO);
      posix::CopyObserver nobody;
      EXPECT_EQ(posix::copyTree(from + "/tree", to + "/broken", nobody).code, EIO);
    });
  });
}

TEST(CopyingWithFaults, EndsWhereAFileWasCutOffBeyondTheDataItHasLeft) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    for (const off_t left : {off_t{3'000'000}, off_t{50'000}}) {
      makeFile(from + "/file", std::string(98'304, 'x'));
      fs::resize_file(from + "/file", 32'000'000);
      int reports = 0;
      class Cutter : public posix::CopyObserver {
       public:
        explicit Cutter(std::function<void()> onBytes) : onBytes_(std::move(onBytes)) {}
        int bytesCopied(std::uint64_t count) override {
          if (count > 0) onBytes_();
          return 0;
        }

       private:
        std::function<void()> onBytes_;
      } cutter([&] {
        if (++reports == 1) fs::resize_file(from + "/file", static_cast<std::uintmax_t>(left));
      });
      EXPECT_EQ(posix::copyTree(from + "/file", to + "/copy", cutter).code, 0);
      EXPECT_EQ(attributesOf(to + "/copy").st_size, std::max<off_t>(left, 98'304));
      fs::remove(to + "/copy");
    }
  });
}

// MARK: - Somebody else with rights in the folder of the copy

/// Replaces the item that is hidden in the folder at present by another one of the folder.
void putInPlaceOfHidden(const std::string& folder, const std::string& name) {
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (!entry.path().filename().string().starts_with(".incomplete-")) continue;
    EXPECT_EQ(::rename((folder + "/" + name).c_str(), entry.path().c_str()), 0) << errno;
    return;
  }
  ADD_FAILURE() << "nothing is hidden in " << folder;
}

/// The only item in a folder.
std::string onlyItemIn(const std::string& folder) {
  EXPECT_EQ(countIn(folder), 1U);
  return fs::directory_iterator(folder)->path().string();
}

struct Exchange {
  const char* what;
  const char* source;
  long call;
  std::function<void(const std::string& path)> make;
};

void makeFifo(const std::string& path, uid_t owner) {
  EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(::lchown(path.c_str(), owner, owner), 0);
}

TEST(CopyingAmongOthers, ChangesNothingThatTookThePlaceOfALoneItem) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFifo(from + "/fifo", 1000);
    ASSERT_EQ(::symlink("nowhere", (from + "/link").c_str()), 0);
    ASSERT_EQ(::lchown((from + "/link").c_str(), 1000, 1000), 0);
    const auto secret = [](const std::string& path) {
      makeFile(path, "secret");
      EXPECT_EQ(::chmod(path.c_str(), 0600), 0);
    };
    const std::vector<Exchange> exchanges = {
        {"a file for a FIFO", "/fifo", SYS_mknodat, secret},
        {"a file for a link", "/link", SYS_symlinkat, secret},
        {"the FIFO of another", "/fifo", SYS_mknodat, [](const std::string& path) { makeFifo(path, 1001); }},
        {"a FIFO with another name", "/fifo", SYS_mknodat, [](const std::string& path) {
           makeFifo(path, 0);
           EXPECT_EQ(::link(path.c_str(), (machineFolder() + "/other name").c_str()), 0);
         }}};
    for (const Exchange& exchange : exchanges) {
      const std::string to = openFolder(exchange.what);
      exchange.make(to + "/bait");
      const struct stat before = attributesOf(to + "/bait");
      inChild([&] {
        afterSystemCall(exchange.call, [&] { putInPlaceOfHidden(to, "bait"); });
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + exchange.source, to + "/copy", nobody).code, ESTALE) << exchange.what;
      });
      const struct stat after = attributesOf(onlyItemIn(to));
      EXPECT_EQ(after.st_ino, before.st_ino) << exchange.what;
      EXPECT_EQ(after.st_uid, before.st_uid) << exchange.what;
      EXPECT_EQ(after.st_mode, before.st_mode) << exchange.what;
      EXPECT_EQ(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec) << exchange.what;
    }
  });
}

TEST(CopyingAmongOthers, TakesNothingForItsFileThatTookTheNameOfIt) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    const std::string name = "new";
    const std::string file = "file";
    makeFile(from + "/file", "text");
    makeFile(to + "/theirs", "kept");
    const posix::UniqueFd source(::open(from.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const posix::UniqueFd folder(::open(to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    inChild([&] {
      posix::SourceFile opened;
      ASSERT_EQ(posix::openSourceFile({source.get(), file}, opened), 0);
      afterSystemCall(SYS_openat, [&] { fs::rename(to + "/theirs", to + "/new"); });
      posix::CopyObserver nobody;
      posix::ItemCopier copier(nobody);
      const auto result = copier.copyFile(opened, {folder.get(), name}, posix::InheritedAccess::Possible);
      EXPECT_EQ(result.error, ESTALE);
      EXPECT_FALSE(result.made);
    });
    EXPECT_EQ(textOf(to + "/new"), "kept");
  });
}

TEST(CopyingAmongOthers, PutsNothingIntoAFolderThatTookThePlaceOfTheCopy) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/private", "text");
    for (const auto& bait : {std::pair(1001U, 0700U), std::pair(0U, 0755U), std::pair(0U, 0710U)}) {
      const unsigned owner = bait.first;
      const unsigned mode = bait.second;
      const std::string to = openFolder(std::to_string(owner) + "-" + std::to_string(mode));
      makeFolders(to + "/bait", mode);
      makeFile(to + "/bait/theirs");
      ASSERT_EQ(::chown((to + "/bait").c_str(), owner, owner), 0);
      inChild([&] {
        afterSystemCall(SYS_mkdirat, [&] { putInPlaceOfHidden(to, "bait"); });
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", nobody).code, ESTALE) << mode;
      });
      const std::string left = onlyItemIn(to);
      EXPECT_EQ(attributesOf(left).st_uid, owner);
      EXPECT_EQ(modeOf(left), mode);
      EXPECT_EQ(onlyItemIn(left), left + "/theirs");
    }
  });
}

void makeAllKinds(const std::string& from) {
  makeFolders(from + "/tree/folder");
  makeFile(from + "/tree/folder/file", "text");
  ASSERT_EQ(::mkfifo((from + "/tree/fifo").c_str(), 0644), 0);
  ASSERT_EQ(::symlink("nowhere", (from + "/tree/link").c_str()), 0);
}

void copyAllKinds(const std::string& from, const std::string& to) {
  for (const char* source : {"/tree", "/tree/folder/file", "/tree/fifo", "/tree/link"}) {
    posix::CopyObserver nobody;
    EXPECT_EQ(posix::copyTree(from + source, to + "/copy", nobody).code, 0) << source;
    EXPECT_EQ(countIn(to), 1U) << source;
    fs::remove_all(to + "/copy");
  }
}

/// For example a memory card, or a server that gives root no rights.
TEST(CopyingAmongOthers, CopiesToAVolumeThatGivesEverythingToOneOwner) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeAllKinds(from);
    inChild([&] {
      ::setfsuid(1001);  // what is made now is not the effective user's
      copyAllKinds(from, to);
    });
  });
}

/// It gives the folder rights that were not requested, and accepts a change of them without making it.
TEST(CopyingAmongOthers, CopiesToAVolumeThatKeepsNoModes) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeAllKinds(from);
    inChild([&] {
      afterSystemCall(SYS_mkdirat, [&] { EXPECT_EQ(::chmod(onlyItemIn(to).c_str(), 0755), 0); });
      failSystemCall(SYS_fchmod, 0);
      copyAllKinds(from, to);
    });
  });
}

TEST(CopyingAmongOthers, KeepsEverythingOfALoneFifoAndOfALoneLink) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFifo(from + "/fifo", 1001);
    ASSERT_EQ(::chmod((from + "/fifo").c_str(), 06641), 0);
    ASSERT_EQ(::symlink("fifo", (from + "/link").c_str()), 0);
    ASSERT_EQ(::lchown((from + "/link").c_str(), 1000, 1001), 0);
    const timespec times[2] = {{1'000'000'001, 123'456'789}, {1'000'000'002, 987'654'321}};
    for (const char* name : {"/fifo", "/link"}) {
      ASSERT_EQ(::lsetxattr((from + name).c_str(), "security.note", "n", 1, 0), 0) << errno;
      ASSERT_EQ(::utimensat(AT_FDCWD, (from + name).c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
      posix::CopyObserver nobody;
      EXPECT_EQ(posix::copyTree(from + name, to + name, nobody).code, 0);
      const struct stat source = attributesOf(from + name);
      const struct stat copy = attributesOf(to + name);
      EXPECT_EQ(copy.st_mode, source.st_mode) << name;
      EXPECT_EQ(copy.st_uid, source.st_uid) << name;
      EXPECT_EQ(copy.st_gid, source.st_gid) << name;
      EXPECT_EQ(copy.st_mtim.tv_sec, 1'000'000'002) << name;
      EXPECT_EQ(copy.st_mtim.tv_nsec, 987'654'321) << name;
      EXPECT_EQ(copy.st_atim.tv_nsec, 123'456'789) << name;
      char value = 0;
      EXPECT_EQ(::lgetxattr((to + name).c_str(), "security.note", &value, 1), 1) << name;
    }
  });
}

// MARK: - Volumes and sources with ways of their own

/// Returns whether the system allowed it: only a real administrator may.
bool makeAppendOnly(const std::string& folder, bool appendOnly) {
  const posix::UniqueFd item(::open(folder.c_str(), O_RDONLY | O_CLOEXEC));
  const unsigned flags = appendOnly ? FS_APPEND_FL : 0;
  return ::ioctl(item.get(), FS_IOC_SETFLAGS, &flags) == 0;
}

TEST(CopyingWithFaults, MakesNothingInAFolderThatItCannotTakeAnythingFrom) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeFolders(from + "/tree");
    makeFile(from + "/tree/file", "text");
    const bool appendOnly = makeAppendOnly(to, true);
    for (const char* source : {"/tree", "/tree/file"}) {
      posix::CopyObserver nobody;
      EXPECT_EQ(posix::copyTree(from + source, to + "/copy", nobody).code, appendOnly ? EPERM : 0) << source;
      EXPECT_EQ(countIn(to), appendOnly ? 0U : 1U) << source;
      fs::remove_all(to + "/copy");
    }
    if (appendOnly) makeAppendOnly(to, false);
  });
}

TEST(CopyingWithFaults, LeavesTimesBehindThatTheVolumeDoesNotTake) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeAllKinds(from);
    for (const int error : {EPERM, EINVAL, ENOTSUP}) {
      inChild([&] {
        failSystemCall(SYS_utimensat, error);
        copyAllKinds(from, to);
      });
    }
    for (const char* source : {"/tree", "/tree/folder/file", "/tree/fifo", "/tree/link"}) {
      inChild([&] {
        failSystemCall(SYS_utimensat, EIO);
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + source, to + "/copy", nobody).code, EIO) << source;
      });
      EXPECT_EQ(countIn(to), 0U) << source;
    }
  });
}

/// Acts when an item's turn comes.
class AtItem : public posix::CopyObserver {
 public:
  AtItem(std::string item, std::function<void()> action) : item_(std::move(item)), action_(std::move(action)) {}
  int itemBegins(std::string_view, std::string_view name) override {
    if (name == item_) action_();
    return 0;
  }

 private:
  const std::string item_;
  const std::function<void()> action_;
};

TEST(CopyingWithFaults, LeavesOutALinkThatVanishesOnceItWasLookedAt) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    makeAllKinds(from);
    const auto removeLink = [&] { EXPECT_TRUE(fs::remove(from + "/tree/link")); };
    inChild([&] {
      AtItem observer("link", [&] { afterSystemCall(SYS_newfstatat, removeLink); });
      EXPECT_EQ(posix::copyTree(from + "/tree", to + "/copy", observer).code, 0);
    });
    ASSERT_TRUE(isThere(to + "/copy/fifo"));
    EXPECT_FALSE(isThere(to + "/copy/link"));

    ASSERT_EQ(::symlink("nowhere", (from + "/tree/link").c_str()), 0);
    AtItem observer("", removeLink);
    EXPECT_EQ(posix::copyTree(from + "/tree/link", to + "/lone", observer).code, ENOENT);
    EXPECT_FALSE(isThere(to + "/lone"));
  });
}

TEST(CopyingWithFaults, FinishesALinkThatVanishesOnceItWasRead) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    for (const char* source : {"/tree", "/tree/link"}) {
      fs::remove_all(from + "/tree");
      makeAllKinds(from);
      inChild([&] {
        afterSystemCall(SYS_symlinkat, [&] { EXPECT_TRUE(fs::remove(from + "/tree/link")); });
        posix::CopyObserver nobody;
        EXPECT_EQ(posix::copyTree(from + source, to + source, nobody).code, 0) << source;
      });
      EXPECT_EQ(fs::read_symlink(to + "/tree/link"), "nowhere");
      fs::remove_all(to + "/tree");
      fs::create_directory(to + "/tree");
    }
  });
}

}  // namespace
}  // namespace qm::testing
