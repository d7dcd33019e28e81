// SPDX-License-Identifier: MIT
#include <linux/fs.h>
#include <sys/ioctl.h>

#include <functional>
#include <sstream>

#include "Platform/linux/files/LinuxItemLocks.h"
#include "Platform/posix/PosixFileSystem.h"
#include "tests/contract/files/RealFiles.h"

namespace qm::testing {
namespace {

linux_::LinuxItemLocks locks;

/// Sets the attribute without the service.
void setFlag(const std::string& path, bool immutable) {
  const int item = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  unsigned flags = 0;
  ASSERT_EQ(::ioctl(item, FS_IOC_GETFLAGS, &flags), 0) << errno;
  flags = immutable ? flags | FS_IMMUTABLE_FL : flags & ~static_cast<unsigned>(FS_IMMUTABLE_FL);
  ASSERT_EQ(::ioctl(item, FS_IOC_SETFLAGS, &flags), 0) << errno;
  ::close(item);
}

/// For files of the system that report no size.
std::string textOfStream(const char* path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// In an ordinary developer's private machine, root has no rights outside.
bool isRealAdministrator() { return textOfStream("/proc/self/uid_map").find("4294967295") != std::string::npos; }

/// Runs `body` with a folder where locks can be set. Only a real administrator can set them: for anybody else it must
/// fail with a reason, and nothing may be locked.
void whereLocksCanBeSet(const std::function<void(const std::string&)>& body) {
  runInPrivateMachine([&] {
    const std::string home = openFolder("home");
    if (isRealAdministrator()) return body(home);
    makeFile(home + "/file");
    EXPECT_EQ(locks.setImmutable(home + "/file", true).code(), EPERM);
    EXPECT_EQ(locks.isImmutable(home + "/file"), false);
  });
}

TEST(ItemLocksOnDisk, LocksAndUnlocksFilesAndFolders) {
  whereLocksCanBeSet([](const std::string& home) {
    makeFile(home + "/file", "text");
    makeFolders(home + "/folder");
    for (const std::string& path : {home + "/file", home + "/folder"}) {
      EXPECT_EQ(locks.isImmutable(path), false);
      expectDone(locks.setImmutable(path, true));
      EXPECT_EQ(locks.isImmutable(path), true);
      EXPECT_EQ(files.removeItem(path).code(), EPERM);
      expectDone(locks.setImmutable(path, true));
      expectDone(locks.setImmutable(path, false));
      EXPECT_EQ(locks.isImmutable(path), false);
      expectDone(files.removeItem(path));
    }
  });
}

TEST(ItemLocksOnDisk, NeitherFollowLinksNorLockThem) {
  whereLocksCanBeSet([](const std::string& home) {
    makeFile(home + "/file");
    ASSERT_EQ(::symlink("file", (home + "/link").c_str()), 0);
    setFlag(home + "/file", true);
    EXPECT_EQ(locks.isImmutable(home + "/link"), false);
    expectDone(locks.setImmutable(home + "/link", false));
    expectError(locks.setImmutable(home + "/link", true), EOPNOTSUPP,
                "“link” couldn’t be locked (Operation not supported).");
    EXPECT_EQ(locks.isImmutable(home + "/file"), true);
    setFlag(home + "/file", false);
  });
}

TEST(ItemLocksOnDisk, DoNotWaitForFifosOrOpenDevices) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    ASSERT_EQ(::mkfifo((home + "/fifo").c_str(), 0600), 0);
    EXPECT_EQ(locks.isImmutable(home + "/fifo"), false);
    EXPECT_EQ(locks.setImmutable(home + "/fifo", true).code(), EOPNOTSUPP);
    expectDone(locks.setImmutable(home + "/fifo", false));
    EXPECT_EQ(locks.setImmutable("/dev/null", true).code(), EOPNOTSUPP);
  });
}

TEST(ItemLocksOnDisk, FailWhenNothingIsThere) {
  runInPrivateMachine([] {
    const std::string home = openFolder("home");
    EXPECT_EQ(locks.isImmutable(home + "/none"), std::nullopt);
    EXPECT_EQ(locks.isImmutable(""), std::nullopt);
    EXPECT_EQ(locks.isImmutable("relative"), std::nullopt);
    expectError(locks.setImmutable(home + "/none", false), ENOENT,
                "“none” couldn’t be unlocked because it doesn’t exist.");
    EXPECT_EQ(locks.setImmutable(std::string("/a\0b", 4), true).code(), EINVAL);
  });
}

TEST(ItemLocksOnDisk, AreChangedOnlyByAnAdministratorAndReadByAnybody) {
  whereLocksCanBeSet([](const std::string& home) {
    makeFile(home + "/locked");
    setFlag(home + "/locked", true);
    asUser(kUser, kUser, [&] {
      makeFile(home + "/own");
      expectError(locks.setImmutable(home + "/own", true), EPERM,
                  "“own” couldn’t be locked because you don’t have permission.");
      EXPECT_EQ(locks.setImmutable(home + "/locked", false).code(), EPERM);
      EXPECT_EQ(locks.isImmutable(home + "/locked"), true);
      // Nothing has to be changed, so no permission is needed.
      expectDone(locks.setImmutable(home + "/own", false));
      expectDone(locks.setImmutable(home + "/locked", true));
    });
    setFlag(home + "/locked", false);
  });
}

TEST(ItemLocksOnDisk, KeepOtherFlags) {
  whereLocksCanBeSet([](const std::string& home) {
    const std::string path = home + "/file";
    makeFile(path);
    const int item = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    unsigned flags = FS_NODUMP_FL;
    ASSERT_EQ(::ioctl(item, FS_IOC_SETFLAGS, &flags), 0);
    expectDone(locks.setImmutable(path, true));
    expectDone(locks.setImmutable(path, false));
    ASSERT_EQ(::ioctl(item, FS_IOC_GETFLAGS, &flags), 0);
    EXPECT_EQ(flags, static_cast<unsigned>(FS_NODUMP_FL));
    ::close(item);
  });
}

TEST(ItemLocksOnDisk, AreClearWhereTheFileSystemHasNone) {
  EXPECT_EQ(locks.isImmutable("/proc/self/status"), false);
  expectDone(locks.setImmutable("/proc/self/status", false));
  EXPECT_FALSE(locks.setImmutable("/proc/self/status", true).ok());
}

TEST(ItemLocksOnDisk, CopiesOfLockedItemsAreNotLocked) {
  whereLocksCanBeSet([](const std::string& home) {
    makeFile(home + "/file", "text");
    setFlag(home + "/file", true);
    expectDone(files.copyItem(home + "/file", home + "/copy"));
    EXPECT_EQ(locks.isImmutable(home + "/copy"), false);
    setFlag(home + "/file", false);
  });
}

TEST(ItemLocksOnDisk, KeepALockedItemFromBeingCopiedInVain) {
  whereLocksCanBeSet([](const std::string& home) {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume);
    makeFolders(home + "/tree");
    makeFile(home + "/tree/file", "text");
    setFlag(home + "/tree/file", true);
    expectError(files.moveItem(home + "/tree", volume + "/tree"), EPERM,
                "“file” couldn’t be moved to “volume” because you don’t have permission.");
    EXPECT_EQ(countIn(volume), 0U);
    setFlag(home + "/tree/file", false);
  });
}

}  // namespace
}  // namespace qm::testing
