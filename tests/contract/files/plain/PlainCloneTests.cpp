// SPDX-License-Identifier: MIT

// Clones that are made by their name, and who else may use that name meanwhile.
#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <functional>

#include "Platform/posix/FileContents.h"
#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/SystemFileCalls.h"
#include "tests/contract/files/RealFiles.h"
#include "tests/contract/files/plain/PlainFileCalls.h"

namespace qm::testing {
namespace {

/// Two folders of an ordinary user's, with "file" in the first. The clone in the second is called "clone".
struct TwoFolders {
  std::string from = openFolder("from");
  std::string to = openFolder("to");
  posix::UniqueFd clone;

  int makeClone(const std::string& name = "file") {
    const posix::UniqueFd file(::open((from + "/" + name).c_str(), O_RDONLY | O_CLOEXEC));
    const posix::UniqueFd folder(::open(to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return posix::makeClone(file.get(), folder.get(), "clone", clone);
  }
};

void withFolders(const std::function<void(TwoFolders&)>& body) {
  runInPrivateMachine([&] {
    TwoFolders folders;
    asUser(kUser, kUser, [&] {
      makeFile(folders.from + "/file", "text");
      body(folders);
    });
  });
}

TEST(CloneByName, LosesTheAccessListThatItWasMadeWith) {
  withFolders([](TwoFolders& folders) {
    const std::string list = accessListFor(kUser);
    plain::afterEachClone([&](int, const char*) {
      const std::string made = folders.to + "/clone";
      ASSERT_EQ(::setxattr(made.c_str(), "system.posix_acl_access", list.data(), list.size(), 0), 0);
    });
    EXPECT_EQ(folders.makeClone(), 0);
    EXPECT_EQ(::fgetxattr(folders.clone.get(), "system.posix_acl_access", nullptr, 0), -1);
    EXPECT_EQ(errno, ENODATA);
  });
}

TEST(CloneByName, IsRemovedIfItCannotBeOpened) {
  withFolders([](TwoFolders& folders) {
    plain::afterEachClone([&](int folder, const char* name) { ASSERT_EQ(::fchmodat(folder, name, 0, 0), 0); });
    EXPECT_EQ(folders.makeClone(), EACCES);
    EXPECT_EQ(plain::clonesMade(), 1);
    EXPECT_FALSE(folders.clone);
    EXPECT_EQ(countIn(folders.to), 0U);
  });
}

TEST(CloneByName, IsGivenUpForWhateverElseHasTheNameThen) {
  withFolders([](TwoFolders& folders) {
    makeFile(folders.from + "/other", "another's");
    plain::afterEachClone([&](int folder, const char* name) {
      ASSERT_EQ(::unlinkat(folder, name, 0), 0);
      ASSERT_EQ(::linkat(AT_FDCWD, (folders.from + "/other").c_str(), folder, name, 0), 0);
    });
    EXPECT_EQ(folders.makeClone(), ESTALE);
    EXPECT_FALSE(folders.clone);
    EXPECT_EQ(textOf(folders.to + "/clone"), "another's");
  });
}

TEST(CloneByName, IsNotMadeThroughALinkThatHasTheNameThen) {
  withFolders([](TwoFolders& folders) {
    plain::afterEachClone([&](int folder, const char* name) {
      ASSERT_EQ(::unlinkat(folder, name, 0), 0);
      ASSERT_EQ(::symlinkat((folders.from + "/file").c_str(), folder, name), 0);
    });
    EXPECT_EQ(folders.makeClone(), ELOOP);
    EXPECT_FALSE(folders.clone);
    EXPECT_TRUE(isThere(folders.to + "/clone"));
  });
}

TEST(CloneByName, IsNotMadeOfAFileThatLendsRights) {
  withFolders([](TwoFolders& folders) {
    ASSERT_EQ(::chmod((folders.from + "/file").c_str(), 04755), 0);
    EXPECT_EQ(folders.makeClone(), EPERM);
    EXPECT_EQ(plain::clonesMade(), 0);
    EXPECT_EQ(countIn(folders.to), 0U);
  });
}

TEST(CloneByName, IsStillMadeOfTheNextFile) {
  withFolders([](TwoFolders& folders) {
    makeFile(folders.from + "/lending", "text");
    ASSERT_EQ(::chmod((folders.from + "/lending").c_str(), 04755), 0);
    const posix::UniqueFd folder(::open(folders.to.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    posix::CopyObserver nobody;
    posix::ContentsCopier copier(nobody);
    const auto isCloned = [&](const std::string& name) {
      posix::SourceFile source;
      const posix::UniqueFd from(::open(folders.from.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      EXPECT_EQ(posix::openSourceFile({from.get(), name}, source), 0);
      return copier.makeClone(source.file.get(), {folder.get(), name}, source.attributes, folders.clone);
    };
    EXPECT_FALSE(isCloned("lending"));
    EXPECT_TRUE(isCloned("file"));
    EXPECT_EQ(textOf(folders.to + "/file"), "text");
  });
}

TEST(RemovalOfALink, IsNotAskedAbout) {
  runInPrivateMachine([] {
    const std::string from = openFolder("from");
    const std::string to = openFolder("to");
    mountTmpfs(to, "mode=0777");
    ASSERT_EQ(::symlink("elsewhere", (from + "/" + plain::kDenied).c_str()), 0);
    expectDone(files.moveItem(from + "/" + plain::kDenied, to + "/link"));
    EXPECT_TRUE(isThere(to + "/link"));
  });
}

}  // namespace
}  // namespace qm::testing
