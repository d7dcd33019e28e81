// SPDX-License-Identifier: MIT

// What root looks for in an item before it puts the item back, and what it drops from it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "Platform/linux/trash/LentRights.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;

const std::string kBundle = "/home/u/Tessaly.app";
const std::string kTool = kBundle + "/tool";
const std::string kSecondName = kBundle + "/second";
const std::string kOutside = "/home/u/outside";

UniqueFd openedItem(const std::string& path) { return UniqueFd(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC)); }

int obstacleIn(const std::string& path) {
  return linux_::obstacleToPuttingBack(openedItem(path).get(), World::kUser).code;
}

int droppingFrom(const std::string& path) { return linux_::dropLentRights(openedItem(path).get(), World::kUser).code; }

void makeTool(World& world, uid_t owner, mode_t mode) {
  world.makeFile(kTool, "tool");
  world.giveTo(owner, kTool);
  world.setMode(kTool, mode);
}

void link(const std::string& from, const std::string& to) { ASSERT_EQ(::link(from.c_str(), to.c_str()), 0); }

// False where the machine's file system keeps no capabilities.
bool giveCapability(const std::string& path) {
  const std::array<unsigned char, 20> capability = {1, 0, 0, 2, 0, 4};
  return ::setxattr(path.c_str(), "security.capability", capability.data(), capability.size(), 0) == 0;
}

bool hasCapability(const std::string& path) { return ::getxattr(path.c_str(), "security.capability", nullptr, 0) >= 0; }

void playWithBundle(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.makeFolder(kBundle);
    body(world);
  });
}

// From now on the process can open nothing more.
void leaveNoDescriptors() {
  const rlimit none{0, 0};
  EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
}

struct ManyNames {
  uid_t owner;
  mode_t mode;
  bool isObstacle;
};

TEST(ObstacleToPuttingBack, IsAFileWithNamesElsewhereThatIsNotThePersonsOrWouldHaveToBeChanged) {
  for (const ManyNames& file : {ManyNames{0, 0644, true}, ManyNames{World::kUser, 04755, true},
                                ManyNames{World::kUser, 02755, true}, ManyNames{World::kUser, 0644, false}}) {
    playWithBundle([&](World& world) {
      makeTool(world, file.owner, file.mode);
      EXPECT_EQ(obstacleIn(kBundle), 0) << "it has no other name yet";
      link(kTool, kOutside);
      EXPECT_EQ(obstacleIn(kBundle), file.isObstacle ? EMLINK : 0) << file.owner << " " << file.mode;
      link(kTool, kSecondName);
      EXPECT_EQ(obstacleIn(kBundle), file.isObstacle ? EMLINK : 0) << "one of three names is elsewhere";
      ASSERT_EQ(::unlink(kOutside.c_str()), 0);
      EXPECT_EQ(obstacleIn(kBundle), 0) << "all names are in it";
    });
  }
}

TEST(ObstacleToPuttingBack, IsALoneFileWithAnotherName) {
  playWithBundle([](World& world) {
    makeTool(world, 0, 0644);
    link(kTool, kOutside);
    EXPECT_EQ(obstacleIn(kTool), EMLINK);
  });
}

TEST(ObstacleToPuttingBack, IsADeviceItselfOrInside) {
  playWithBundle([](World&) {
    // The one device that may be created anywhere.
    ASSERT_EQ(::mknod(kTool.c_str(), S_IFCHR | 0666, makedev(0, 0)), 0);
    EXPECT_EQ(obstacleIn(kTool), ENODEV);
    EXPECT_EQ(obstacleIn(kBundle), ENODEV);
  });
}

TEST(ObstacleToPuttingBack, IsALinkOrAPipeItselfButNotInside) {
  playWithBundle([](World& world) {
    world.makeLink(kTool, "/etc/passwd");
    ASSERT_EQ(::mkfifo(kSecondName.c_str(), 0644), 0);
    EXPECT_EQ(obstacleIn(kTool), ENOTSUP);
    EXPECT_EQ(obstacleIn(kSecondName), ENOTSUP);
    EXPECT_EQ(obstacleIn(kBundle), 0);
  });
}

TEST(ObstacleToPuttingBack, IsAVolumeOrAFileMountedInside) {
  playWithBundle([](World& world) {
    world.mountVolume(kBundle + "/volume", "mode=0755");
    EXPECT_EQ(obstacleIn(kBundle), EBUSY);
    EXPECT_EQ(droppingFrom(kBundle), EBUSY);
  });
  playWithBundle([](World& world) {
    makeTool(world, World::kUser, 0644);
    world.makeFile(kOutside, "outside");
    ASSERT_EQ(::mount(kOutside.c_str(), kTool.c_str(), nullptr, MS_BIND, nullptr), 0);
    EXPECT_EQ(obstacleIn(kBundle), EBUSY);
  });
}

TEST(ObstacleToPuttingBack, IsTheErrorWhereItCannotBeLookedFor) {
  EXPECT_EQ(linux_::obstacleToPuttingBack(-1, World::kUser).code, EBADF);
  EXPECT_EQ(linux_::dropLentRights(-1, World::kUser).code, EBADF);
  playWithBundle([](World& world) {
    makeTool(world, World::kUser, 0644);
    link(kTool, kSecondName);
    failSystemCall(SYS_getxattr, EIO);
    EXPECT_EQ(obstacleIn(kBundle), EIO);
    EXPECT_EQ(droppingFrom(kBundle), EIO);
    ASSERT_EQ(::unlink(kSecondName.c_str()), 0);
    world.setMode(kTool, 04755);
    EXPECT_EQ(droppingFrom(kBundle), EIO) << "it may have capabilities besides the bit";
  });
}

TEST(LentRights, AreDroppedFromFilesOfAllKinds) {
  playWithBundle([](World& world) {
    makeTool(world, 0, 06755);
    ASSERT_EQ(::mkfifo((kBundle + "/pipe").c_str(), 0644), 0);
    world.setMode(kBundle + "/pipe", 04644);
    world.makeFolder(kBundle + "/folder");
    world.setMode(kBundle + "/folder", 02775);
    world.setMode(kBundle, 04755);
    EXPECT_EQ(droppingFrom(kBundle), 0);
    EXPECT_EQ(world.modeOf(kTool), 0755U);
    EXPECT_EQ(world.modeOf(kBundle + "/pipe"), 0644U);
    EXPECT_EQ(world.modeOf(kBundle + "/folder"), 0775U);
    EXPECT_EQ(world.modeOf(kBundle), 0755U);
  });
}

TEST(LentRights, AreDroppedFromAFileThatHasOnlyCapabilities) {
  playWithBundle([](World& world) {
    makeTool(world, 0, 0755);
    if (!giveCapability(kTool)) return;
    EXPECT_EQ(droppingFrom(kBundle), 0);
    EXPECT_FALSE(hasCapability(kTool));
    EXPECT_EQ(world.modeOf(kTool), 0755U);
    ASSERT_TRUE(giveCapability(kTool));
    EXPECT_EQ(linux_::dropCapabilities(openedItem(kTool).get()), 0);
    EXPECT_FALSE(hasCapability(kTool));
  });
}

TEST(LentRights, StayInAFileOfOthersThatHasSeveralNames) {
  playWithBundle([](World& world) {
    makeTool(world, 0, 04755);
    link(kTool, kSecondName);
    EXPECT_EQ(droppingFrom(kBundle), EMLINK);
    EXPECT_EQ(world.modeOf(kTool), 04755U);
    world.giveTo(World::kUser, kTool);
    world.setMode(kTool, 04755);
    EXPECT_EQ(droppingFrom(kBundle), 0);
    EXPECT_EQ(world.modeOf(kSecondName), 0755U);
  });
}

TEST(LentRights, StayBehindLinks) {
  playWithBundle([](World& world) {
    world.makeFile(kOutside, "outside");
    world.setMode(kOutside, 04755);
    world.makeLink(kTool, kOutside);
    EXPECT_EQ(droppingFrom(kBundle), 0);
    EXPECT_EQ(world.modeOf(kOutside), 04755U);
  });
}

TEST(LentRights, AreNoReasonToChangeAnythingWhereThereAreNone) {
  playWithBundle([](World& world) {
    makeTool(world, 0, 0644);
    for (const long call : {SYS_fchmod, SYS_chmod, SYS_fchmodat}) failSystemCall(call, EPERM);
    EXPECT_EQ(droppingFrom(kBundle), 0);
  });
}

TEST(LentRights, AreNotDroppedWhereTheSystemRefuses) {
  playWithBundle([](World& world) {
    world.makeFolder(kBundle + "/folder");
    world.setMode(kBundle + "/folder", 02755);
    failSystemCall(SYS_fchmod, EPERM);
    EXPECT_EQ(droppingFrom(kBundle), EPERM);
  });
  playWithBundle([](World& world) {
    makeTool(world, 0, 04755);
    failSystemCall(SYS_chmod, EPERM);
    EXPECT_EQ(droppingFrom(kBundle), EPERM);
  });
  playWithBundle([](World& world) {
    makeTool(world, 0, 0755);
    if (!giveCapability(kTool)) return;
    failSystemCall(SYS_removexattr, EPERM);
    EXPECT_EQ(droppingFrom(kBundle), EPERM);
    EXPECT_TRUE(hasCapability(kTool));
  });
}

TEST(LentRights, AreDroppedOnAVolumeThatKnowsNoCapabilities) {
  playWithBundle([](World& world) {
    makeTool(world, 0, 04755);
    failSystemCall(SYS_getxattr, ENOTSUP);
    EXPECT_EQ(droppingFrom(kBundle), 0);
    EXPECT_EQ(world.modeOf(kTool), 0755U);
  });
}

// The walk has the names of a folder before it opens any of the items.
TEST(LentRights, AreSearchedInWhatIsStillThere) {
  for (const bool isFolder : {false, true}) {
    playWithBundle([&](World& world) {
      isFolder ? world.makeFolder(kTool) : makeTool(world, 0, 0644);
      afterSystemCall(SYS_getdents64, [] { EXPECT_EQ(::rename(kTool.c_str(), kOutside.c_str()), 0); });
      EXPECT_EQ(droppingFrom(kBundle), 0);
      EXPECT_EQ(world.kindOf(kTool), ItemKind::Nothing);
    });
  }
}

TEST(LentRights, AreNotThoughtToBeDroppedFromWhatCannotBeOpened) {
  for (const bool isFolder : {false, true}) {
    playWithBundle([&](World& world) {
      isFolder ? world.makeFolder(kTool) : makeTool(world, 0, 04755);
      afterSystemCall(SYS_getdents64, leaveNoDescriptors);
      EXPECT_EQ(droppingFrom(kBundle), EMFILE);
    });
  }
}

}  // namespace
}  // namespace qm::testing
