// SPDX-License-Identifier: MIT

// What holds of every system's bodies, whether it has such a thing or not.
#include "Platform/posix/SystemFileCalls.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <functional>

#include "tests/contract/files/FileWorld.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

class SystemFileCalls : public ::testing::Test {
 protected:
  /// As an ordinary user, in a folder that has a file in it.
  static void inFolder(const std::function<void(const std::string& path, int folder)>& body) {
    runInRealWorld([&](FileWorld& world) {
      world.addFile(world.home("file"), "text");
      const posix::UniqueFd folder(::open(world.home().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      ASSERT_TRUE(folder);
      body(world.home(), folder.get());
    });
  }
};

TEST_F(SystemFileCalls, MakeAWholeCloneOrNothing) {
  inFolder([](const std::string& path, int folder) {
    const posix::UniqueFd file(::open((path + "/file").c_str(), O_RDONLY | O_CLOEXEC));
    posix::UniqueFd clone;
    const int error = posix::makeClone(file.get(), folder, "clone", clone);
    EXPECT_EQ(error == 0, static_cast<bool>(clone));
    EXPECT_EQ(error == 0, isThere(path + "/clone"));
    if (error != 0) return;
    EXPECT_EQ(textOf(path + "/clone"), "text");
    EXPECT_EQ(attributesOf(path + "/clone").st_uid, ::geteuid());
    EXPECT_EQ(posix::setMode(clone.get(), 0600), 0);
  });
}

TEST_F(SystemFileCalls, ReplaceNothingByAClone) {
  inFolder([](const std::string& path, int folder) {
    makeFile(path + "/other", "kept");
    const posix::UniqueFd file(::open((path + "/file").c_str(), O_RDONLY | O_CLOEXEC));
    posix::UniqueFd clone;
    EXPECT_NE(posix::makeClone(file.get(), folder, "other", clone), 0);
    EXPECT_FALSE(clone);
    EXPECT_EQ(textOf(path + "/other"), "kept");
  });
}

TEST_F(SystemFileCalls, MakeAFifoAndReplaceNothingByIt) {
  inFolder([](const std::string& path, int folder) {
    EXPECT_EQ(posix::makeNode(folder, "fifo", S_IFIFO | 0600, 0), 0);
    EXPECT_TRUE(S_ISFIFO(attributesOf(path + "/fifo").st_mode));
    EXPECT_EQ(modeOf(path + "/fifo"), 0600U);
    EXPECT_EQ(posix::makeNode(folder, "file", S_IFIFO | 0600, 0), EEXIST);
    EXPECT_EQ(textOf(path + "/file"), "text");
  });
}

TEST_F(SystemFileCalls, DenyNoRemovalOfAnItemWithoutAccessLists) {
  inFolder([](const std::string&, int folder) { EXPECT_FALSE(posix::isRemovalDenied(folder, "file")); });
}

TEST_F(SystemFileCalls, GiveACopyNoFlagsOfAnItemWithoutAny) {
  inFolder([](const std::string& path, int) { EXPECT_EQ(posix::flagsForCopy(attributesOf(path + "/file")), 0U); });
}

TEST_F(SystemFileCalls, ChangeNoOtherDateWithTheCreationDate) {
  inFolder([](const std::string& path, int) {
    const posix::UniqueFd file(::open((path + "/file").c_str(), O_RDONLY | O_CLOEXEC));
    const timespec date{1'000'000'000, 5};
    ASSERT_EQ(posix::setTimes(file.get(), {date, date}), 0);
    const int error = posix::copyCreationTime(file.get(), attributesOf(path + "/file"));
    EXPECT_TRUE(error == 0 || error == ENOTSUP) << error;
    EXPECT_EQ(posix::modificationTime(attributesOf(path + "/file")).tv_sec, date.tv_sec);
  });
}

TEST_F(SystemFileCalls, LookUpItemsInAFolderThatIsOpenToNameThemIn) {
  inFolder([](const std::string& path, int) {
    const posix::UniqueFd folder(::open(path.c_str(), posix::lookupFlag() | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(folder);
    struct stat attributes {};
    EXPECT_EQ(::fstatat(folder.get(), "file", &attributes, AT_SYMLINK_NOFOLLOW), 0);
  });
}

}  // namespace
}  // namespace qm::testing
