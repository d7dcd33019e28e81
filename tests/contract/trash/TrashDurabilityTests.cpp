// SPDX-License-Identifier: MIT

// What is flushed to the disk at the end of a run, and what is not waited for before.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/syscall.h>

#include <atomic>
#include <cerrno>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

/// Whether a file system has been flushed since this was created.
class Flush {
 public:
  explicit Flush(long call = SYS_syncfs) {
    afterSystemCall(call, [this] { seen_ = true; });
  }
  bool seen() const { return seen_; }

 private:
  std::atomic<bool> seen_{false};
};

void makeDurable(World& world) {
  world.withUsersRights([&] { world.trash().makeDurable(); });
}

void makeFiles(World& world) {
  world.makeFile("/home/u/a", "a");
  world.makeVolume(kStick);
  world.makeFile(kStick + "/b", "b");
}

TEST(TrashDurability, WaitsForTheDiskOnceForAllItemsAndNotForEach) {
  World::play([](World& world) {
    makeFiles(world);
    const Flush flush;
    makeDurable(world);
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    EXPECT_FALSE(flush.seen());
    makeDurable(world);
    EXPECT_TRUE(flush.seen());
  });
}

TEST(TrashDurability, IsWaitedForOnOtherVolumesToo) {
  World::play([](World& world) {
    makeFiles(world);
    const Flush flush;
    EXPECT_TRUE(world.recycle(kStick, "b"));
    makeDurable(world);
    EXPECT_TRUE(flush.seen());
  });
}

TEST(TrashDurability, IsWaitedForWhenALaterItemFailed) {
  World::play([](World& world) {
    makeFiles(world);
    const Flush flush;
    EXPECT_FALSE(world.recycle("/home/u", World::kTrashLink, {"a", "none"}));
    makeDurable(world);
    EXPECT_TRUE(flush.seen());
  });
}

TEST(TrashDurability, IsWaitedForWhereTheTrashMayNotBeRead) {
  World::play([](World& world) {
    makeFiles(world);
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    world.setMode(World::kHomeTrash + std::string("/info"), 0300);
    const Flush flush(SYS_sync);
    makeDurable(world);
    EXPECT_TRUE(flush.seen());
  });
}

TEST(TrashDurability, IsNotWaitedForTwice) {
  World::play([](World& world) {
    makeFiles(world);
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    makeDurable(world);
    const Flush flush;
    makeDurable(world);
    EXPECT_FALSE(flush.seen());
  });
}

TEST(TrashDurability, LeavesAVolumeFreeToBeEjectedAndWhatIsMountedInItsPlaceAlone) {
  World::play([](World& world) {
    makeFiles(world);
    EXPECT_TRUE(world.recycle(kStick, "b"));
    ASSERT_EQ(::umount(kStick.c_str()), 0) << errno;
    world.makeVolume(kStick);
    world.makeFolder(kStick + "/.Trash-501");
    world.makeFolder(kStick + "/.Trash-501/info");
    const Flush flush;
    makeDurable(world);
    EXPECT_FALSE(flush.seen());
  });
}

TEST(TrashDurability, IsHadForTheConsoleUserToo) {
  World::play([](World& world) {
    makeFiles(world);
    world.actAsRoot("u");
    const Flush flush;
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    makeDurable(world);
    EXPECT_TRUE(flush.seen());
  });
}

}  // namespace
}  // namespace qm::testing
