// SPDX-License-Identifier: MIT

// Handing an item over: single kinds of items, and calls that fail.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/linux/trash/Handover.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using linux_::HandedOver;
using linux_::Reached;
using posix::FileError;
using posix::UniqueFd;

const linux_::FileSystemIdentity kIdentity{kPerson, kPerson, {kPerson}};

class HandedOverItem : public ::testing::Test {
 protected:
  static void run(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      makeFolder(item());
      body();
    });
  }

  static std::string item() { return machineFolder() + "/item"; }
  static std::string inItem(const std::string& name) { return item() + "/" + name; }
  static UniqueFd open(const std::string& path) {
    UniqueFd opened(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    EXPECT_TRUE(opened) << path;
    return opened;
  }

  static int given(const std::string& path, Reached reached = Reached::Yes, HandedOver what = HandedOver::TheItem) {
    return linux_::handOver(open(path).get(), kIdentity, reached, what).code;
  }
  static FileError obstacle(const std::string& path, Reached reached = Reached::Yes,
                            HandedOver what = HandedOver::TheItem) {
    return linux_::obstacleToHandover(open(path).get(), kIdentity, reached, what);
  }

  static void makeDevice(const std::string& path, mode_t type) {
    ASSERT_EQ(::mknod(path.c_str(), type | 0600, makedev(1, 5)), 0);
  }
  static void makeLinked(const std::string& path) {
    ASSERT_EQ(::linkat(AT_FDCWD, path.c_str(), AT_FDCWD, (machineFolder() + "/other name").c_str(), 0), 0);
  }
  static void makeCapable(const std::string& path) {
    constexpr unsigned char capabilities[20] = {1, 0, 0, 2, 0x80, 0, 0, 0};
    ASSERT_EQ(::setxattr(path.c_str(), "security.capability", capabilities, sizeof capabilities, 0), 0);
  }
};

TEST_F(HandedOverItem, IsReportedWhereItCannotBeSeen) {
  run([] {
    EXPECT_EQ(linux_::handOver(-1, kIdentity, Reached::Yes).code, EBADF);
    EXPECT_EQ(linux_::obstacleToHandover(-1, kIdentity, Reached::Yes, HandedOver::TheItem).code, EBADF);
    EXPECT_FALSE(linux_::reaches(kIdentity, item(), -1));
  });
}

TEST_F(HandedOverItem, KeepsPermissionsForOthersOnlyWhereTheUserReachedIt) {
  run([] {
    for (const auto& [before, reached, unreached] : {std::tuple<mode_t, mode_t, mode_t>{0666, 0666, 0600},
                                                     {0677, 0677, 0600},
                                                     {06711, 0711, 0700},
                                                     {01755, 01755, 01700}}) {
      makeFile(inItem("file"), "", 0, before);
      EXPECT_EQ(given(inItem("file")), 0);
      EXPECT_EQ(modeOf(inItem("file")), reached);
      EXPECT_EQ(given(inItem("file"), Reached::No), 0);
      EXPECT_EQ(modeOf(inItem("file")), unreached);
    }
  });
}

TEST_F(HandedOverItem, IsClosedBelowAFolderThatTheUserCouldListButNotEnter) {
  run([] {
    makeFolder(inItem("listed"), 0, 0744);
    makeFile(inItem("listed/file"), "");
    makeFile(inItem("file"), "");
    EXPECT_EQ(given(item()), 0);
    EXPECT_EQ(modeOf(inItem("listed/file")), 0600U);
    EXPECT_EQ(modeOf(inItem("file")), 0644U) << "after the closed folder";
  });
}

TEST_F(HandedOverItem, HasLinksWithoutPermissionsOfTheirOwn) {
  run([] {
    makeFile(machineFolder() + "/precious", "", 0, 0644);
    makeLink(inItem("link"), machineFolder() + "/precious");
    makeLinked(inItem("link"));
    EXPECT_EQ(obstacle(item(), Reached::No).code, 0);
    EXPECT_EQ(given(item(), Reached::No), 0);
    EXPECT_EQ(given(inItem("link"), Reached::No), 0);
    EXPECT_EQ(modeOf(machineFolder() + "/precious"), 0644U);
  });
}

TEST_F(HandedOverItem, IsNoDeviceInACopy) {
  for (const auto type : {static_cast<mode_t>(S_IFCHR), static_cast<mode_t>(S_IFBLK)}) {
    run([type] {
      makeDevice(inItem("device"), type);
      for (const std::string& path : {item(), inItem("device")}) {
        EXPECT_EQ(obstacle(path, Reached::Yes, HandedOver::ACopy).code, ENODEV);
        EXPECT_EQ(obstacle(path).code, 0);
        EXPECT_EQ(given(path), 0);
        EXPECT_EQ(given(path, Reached::Yes, HandedOver::ACopy), ENODEV);
      }
    });
  }
}

TEST_F(HandedOverItem, GoesToTheUserAlthoughAPartOfItFailsAndTheFirstFailureIsReported) {
  run([] {
    makeFolder(inItem("folder"), 0, 0500);
    makeDevice(inItem("folder/device"), S_IFCHR);
    inChild([] {
      failSystemCall(SYS_fchmod, EIO);
      EXPECT_EQ(given(item(), Reached::Yes, HandedOver::ACopy), ENODEV);
    });
    EXPECT_EQ(ownerOf(inItem("folder")), kPerson);
    EXPECT_EQ(ownerOf(item()), kPerson);
  });
}

TEST_F(HandedOverItem, KeepsWhatIsAlreadyAsItShouldBe) {
  run([] {
    makeFolder(inItem("folder"), kPerson, 0755);
    makeFile(inItem("folder/file"), "", 0, 0644);
    ASSERT_EQ(::chown(item().c_str(), kPerson, 0), 0);
    inChild([] {
      for (const long call : {SYS_fchown, SYS_fchmod, SYS_chmod, SYS_removexattr}) failSystemCall(call, EIO);
      EXPECT_EQ(given(item()), 0);
    });
  });
}

TEST_F(HandedOverItem, KeepsTheGroupsOfItsFolders) {
  run([] {
    ASSERT_EQ(::chown(item().c_str(), 0, kOther), 0);
    EXPECT_EQ(given(item()), 0);
    struct stat found {};
    ASSERT_EQ(::stat(item().c_str(), &found), 0);
    EXPECT_EQ(found.st_uid, kPerson);
    EXPECT_EQ(found.st_gid, kOther);
  });
}

struct FailingCall {
  long call = 0;
  mode_t folderMode = 0755;
  mode_t fileMode = 0644;
};

TEST_F(HandedOverItem, ReportsEachCallThatFails) {
  for (const FailingCall& failing : {FailingCall{SYS_fchown},
                                     {SYS_fchmod, 0555},
                                     {SYS_chmod, 0755, 04755},
                                     {SYS_getxattr},
                                     {SYS_removexattr},
                                     {SYS_faccessat2}}) {
    run([&] {
      ASSERT_EQ(::chmod(item().c_str(), failing.folderMode), 0);
      makeFile(inItem("file"), "", 0, failing.fileMode);
      makeCapable(inItem("file"));
      inChild([&] {
        failSystemCall(failing.call, EIO);
        EXPECT_EQ(given(item()), EIO) << failing.call;
      });
    });
  }
}

TEST_F(HandedOverItem, ReportsAFolderThatCannotBeSeenAnyMore) {
  run([] {
    makeFolder(inItem("folder"));
    inChild([] {
      watchSystemCalls({SYS_newfstatat, SYS_fchown}, [looks = 0](const SystemCall& call) mutable {
        const bool isLook = call.number == SYS_newfstatat && call.text(1).empty() && call.path() == inItem("folder");
        return isLook && ++looks == 2 ? EIO : 0;  // the first look is that of the listing
      });
      EXPECT_EQ(given(item()), EIO);
    });
    EXPECT_EQ(ownerOf(inItem("folder")), 0U);
    EXPECT_EQ(ownerOf(item()), kPerson);
  });
}

TEST_F(HandedOverItem, NeedsTheUsersRightsToTellWhatTheUserReaches) {
  run([] {
    inChild([] {
      failSystemCall(SYS_setgroups, EAGAIN);
      EXPECT_EQ(given(item()), EPERM);
      EXPECT_EQ(obstacle(item()).code, EPERM);
      EXPECT_FALSE(linux_::reaches(kIdentity, item(), open(item()).get()));
    });
  });
}

// MARK: - What prevents it

TEST_F(HandedOverItem, HasNoOtherNamesWhereItWouldBeChanged) {
  struct Case {
    mode_t mode;
    Reached reached;
    bool isCapable;
    int error;
  };
  for (const Case& one : {Case{04755, Reached::Yes, false, EMLINK},
                          {0644, Reached::No, false, EMLINK},
                          {0755, Reached::Yes, true, EMLINK},
                          {0600, Reached::No, false, 0},
                          {0644, Reached::Yes, false, 0}}) {
    run([&] {
      makeFile(inItem("file"), "", 0, one.mode);
      if (one.isCapable) makeCapable(inItem("file"));
      EXPECT_EQ(obstacle(inItem("file"), one.reached).code, 0);
      makeLinked(inItem("file"));
      EXPECT_EQ(obstacle(inItem("file"), one.reached).code, one.error) << one.mode;
      const FileError error = obstacle(item(), one.reached);
      EXPECT_EQ(error.code, one.error) << one.mode;
      EXPECT_EQ(error.item, one.error == 0 ? "" : "file");
      EXPECT_EQ(obstacle(item(), one.reached, HandedOver::ACopy).code, 0);
    });
  }
}

TEST_F(HandedOverItem, IsNotPreventedByOtherNamesThatAreAllInIt) {
  run([] {
    makeFile(inItem("file"), "", 0, 04755);
    makeFile(inItem("unchanged"), "", 0, 0644);
    makeLinked(inItem("unchanged"));
    for (const char* name : {"second", "third"}) {
      ASSERT_EQ(::link(inItem("file").c_str(), inItem(name).c_str()), 0);
    }
    EXPECT_EQ(obstacle(item()).code, 0);
    ASSERT_EQ(::rename(inItem("third").c_str(), (machineFolder() + "/third").c_str()), 0);
    EXPECT_EQ(obstacle(item()).code, EMLINK);
  });
}

TEST_F(HandedOverItem, MayHoldAPipeWithOtherNames) {
  run([] {
    ASSERT_EQ(::mkfifo(inItem("pipe").c_str(), 0600), 0);
    makeLinked(inItem("pipe"));
    EXPECT_EQ(obstacle(item()).code, 0);
    EXPECT_EQ(obstacle(inItem("pipe")).code, 0);
  });
}

TEST_F(HandedOverItem, IsPreventedWhereTheRightsOfAFileWithOtherNamesAreUnknown) {
  run([] {
    makeFile(inItem("file"), "");
    inChild([] {
      failSystemCall(SYS_getxattr, EIO);
      EXPECT_EQ(obstacle(item()).code, 0);
    });
    makeLinked(inItem("file"));
    for (const std::string& path : {item(), inItem("file")}) {
      inChild([&] {
        failSystemCall(SYS_getxattr, EIO);
        EXPECT_EQ(obstacle(path).code, EIO);
      });
    }
    inChild([] {
      failSystemCall(SYS_faccessat2, EIO);
      EXPECT_EQ(obstacle(item()).code, EIO);
    });
  });
}

TEST_F(HandedOverItem, HoldsNoMountedFileAndNoMountedFolder) {
  run([] {
    makeFile(inItem("file"), "");
    makeFile(machineFolder() + "/mounted", "");
    ASSERT_EQ(::mount((machineFolder() + "/mounted").c_str(), inItem("file").c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(obstacle(item()).code, EBUSY);
    ASSERT_EQ(::umount(inItem("file").c_str()), 0);
    EXPECT_EQ(obstacle(item()).code, 0);
    mountTmpfs(inItem("volume"));
    EXPECT_EQ(obstacle(item()).code, EBUSY);
    EXPECT_EQ(given(item()), EBUSY) << "it came after the look";
  });
}

TEST_F(HandedOverItem, HoldsNothingLocked) {
  run([] {
    makeFile(inItem("file"), "");
    makeFolder(inItem("folder"));
    for (const std::string& path : {inItem("file"), inItem("folder"), item()}) {
      const UniqueFd opened(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
      int flags = FS_IMMUTABLE_FL;
      if (::ioctl(opened.get(), FS_IOC_SETFLAGS, &flags) != 0) return;  // older kernels have no locks in memory
      EXPECT_EQ(obstacle(item()).code, EPERM) << path;
      flags = 0;
      EXPECT_EQ(::ioctl(opened.get(), FS_IOC_SETFLAGS, &flags), 0);
      EXPECT_EQ(obstacle(item()).code, 0);
    }
  });
}

// MARK: - Whether the user reaches it

TEST_F(HandedOverItem, IsReachedByAPathThatLeadsToIt) {
  run([] {
    const UniqueFd opened = open(item());
    const std::string closed = machineFolder() + "/closed";
    makeFolder(closed, 0, 0700);
    makeFolder(closed + "/item");
    makeFile(machineFolder() + "/file", "");
    makeLink(machineFolder() + "/loop", "loop");
    EXPECT_EQ(linux_::reaches(kIdentity, item(), opened.get()), Reached::Yes);
    for (const std::string& path : {closed, closed + "/item", machineFolder() + "/missing", machineFolder() + "/file/a",
                                    machineFolder() + "/loop/a"}) {
      EXPECT_EQ(linux_::reaches(kIdentity, path, opened.get()), Reached::No) << path;
    }
    inChild([&] {
      watchSystemCalls({SYS_newfstatat}, [](const SystemCall& call) { return call.text(1) == item() ? EIO : 0; });
      EXPECT_EQ(linux_::reaches(kIdentity, item(), opened.get()), std::nullopt);
    });
  });
}

}  // namespace
}  // namespace qm::testing
