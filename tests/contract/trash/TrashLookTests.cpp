// SPDX-License-Identifier: MIT

// Which Trashes are opened, for whom, how long that is remembered, and what is read in them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

#include "Platform/linux/trash/TrashesOfPath.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using namespace std::string_literals;
using Names = std::vector<std::string>;
using platform::MissingFolders;
using platform::TrashedItem;
using std::chrono::milliseconds;

const std::string kLeftWorkFolder = ".tessaly-uninstaller-1";

platform::Status recycleFile(World& world, const std::string& name) {
  world.makeFile("/home/u/" + name, name);
  return world.recycle("/home/u", name);
}

std::string moveRefusal(const std::string& name, const std::string& because) {
  return "“" + name + "” couldn’t be moved to the Trash because " + because + ".";
}

void addAccount(World& world, const std::string& line) {
  World::makePlainFile("/etc/passwd", world.contentsOf("/etc/passwd") + line + "\n");
}

// What is remembered for a second.

TEST(RememberedTrash, IsThatOfTheUserForASecond) {
  World::play([](World& world) {
    world.makeFolder("/home/u/new");
    world.clock().advance(std::chrono::seconds(5));
    EXPECT_TRUE(recycleFile(world, "a"));
    world.users().setHomeDirectory("/home/u/new");
    world.clock().advance(milliseconds(999));
    EXPECT_TRUE(recycleFile(world, "b"));
    expectInHomeTrash(world, "/home/u/b");
    world.clock().advance(milliseconds(1));
    EXPECT_TRUE(recycleFile(world, "c"));
    expectRestorable(world, "/home/u/c", "/home/u/new/.local/share/Trash");
  });
}

TEST(RememberedTrash, IsAskedForAgainForAnotherPlaceOrAnotherUser) {
  World::play([](World& world) {
    world.makeFolder("/home/u/new");
    EXPECT_TRUE(recycleFile(world, "a"));
    world.users().setHomeDirectory("/home/u/new");
    world.makeFile("/home/u/b", "b");
    EXPECT_TRUE(world.recycle("/home/u", "/home/u/new/.Trash", {"b"}));
    expectRestorable(world, "/home/u/b", "/home/u/new/.local/share/Trash");
    world.actAsRoot("u");
    world.makeFile("/home/u/c", "c");
    EXPECT_TRUE(world.recycle("/home/u", "/home/u/new/.Trash", {"c"}));
    expectInHomeTrash(world, "/home/u/c");
  });
}

TEST(RememberedTrash, IsNotAnothersWithTheSameHome) {
  World::play([](World& world) {
    addAccount(world, "twin:x:502:502::/home/u:/bin/sh");
    world.actAsRoot("u");
    EXPECT_TRUE(recycleFile(world, "a"));
    for (const char* folder : {"", "/.local", "/.local/share", "/.local/share/Trash", "/.local/share/Trash/files",
                               "/.local/share/Trash/info"}) {
      world.setMode(World::kHome + std::string(folder), 0777);
    }
    world.actAsRoot("twin");
    world.clock().advance(std::chrono::seconds(1));
    EXPECT_EQ(recycleFile(world, "b").code(), EPERM);
    EXPECT_EQ(world.contentsOf("/home/u/b"), "b");
  });
}

TEST(RememberedTrash, IsRefusedOnceAPartOfItIsSomebodyElses) {
  for (const char* part : {"", "/files", "/info"}) {
    World::play([&](World& world) {
      EXPECT_TRUE(recycleFile(world, "a"));
      world.giveTo(World::kStranger, kTrash + part);
      world.setMode(kTrash + part, 0777);
      EXPECT_EQ(recycleFile(world, "b").code(), EPERM) << part;
      EXPECT_EQ(world.contentsOf("/home/u/b"), "b");
    });
  }
}

TEST(RememberedTrash, GivesWayToAnotherAtItsPlace) {
  for (const char* part : {"", "/files", "/info"}) {
    World::play([&](World& world) {
      EXPECT_TRUE(recycleFile(world, "a"));
      world.rename(kTrash + part, "/home/u/old");
      world.makeFolder(kTrash + part);
      EXPECT_TRUE(recycleFile(world, "b"));
      expectInHomeTrash(world, "/home/u/b");
    });
  }
}

// The link in the home.

TEST(LinkToTheTrash, IsLookedAfterOnceASecondForEachPlace) {
  World::play([](World& world) {
    world.clock().advance(std::chrono::seconds(5));
    EXPECT_TRUE(recycleFile(world, "a"));
    world.removeFile(World::kTrashLink);
    EXPECT_TRUE(recycleFile(world, "b"));
    EXPECT_EQ(world.kindOf(World::kTrashLink), ItemKind::Nothing);
    world.makeFolder("/home/u/sub");
    world.makeFile("/home/u/c", "c");
    EXPECT_TRUE(world.recycle("/home/u", "/home/u/sub/.Trash", {"c"}));
    EXPECT_EQ(world.contentsOf("/home/u/sub/.Trash"), kTrash + "/files") << "elsewhere it is absolute";
  });
}

TEST(LinkToTheTrash, IsAnItemLikeOthersUnderASecondName) {
  World::play([](World& world) {
    EXPECT_TRUE(recycleFile(world, "a"));
    ASSERT_EQ(::linkat(AT_FDCWD, World::kTrashLink, AT_FDCWD, "/home/u/second", 0), 0);
    EXPECT_TRUE(world.recycle("/home/u", "second"));
    expectInHomeTrash(world, "/home/u/second");
  });
}

// Who is meant.

TEST(TrashUsers, AreNoAccountsWithoutAHomeOrOfTheLoginScreen) {
  World::play([](World& world) {
    addAccount(world, "odd:x:504:504::home/odd:/bin/sh");
    addAccount(world, "loginwindow:x:505:505::/home/u:/bin/sh");
    for (const char* name : {"odd", "loginwindow"}) {
      world.actAsRoot(name);
      world.clock().advance(std::chrono::seconds(1));
      const platform::Status status = recycleFile(world, name);
      EXPECT_EQ(status.localizedDescription(), moveRefusal(name, "nobody is logged in"));
      EXPECT_EQ(world.contentsOf("/home/u/"s + name), name);
    }
  });
}

TEST(TrashUsers, HaveTheTrashOfTheirEnvironmentAsRootForRoot) {
  World::play([](World& world) {
    world.actAsRoot("root");
    world.useDataHome("/root/data");
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "/root/.Trash", {"a"}));
    expectRestorable(world, "/home/u/a", "/root/data/Trash");
  });
}

TEST(TrashUsers, NameATrashByAnAbsolutePath) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    for (const std::string& place : {"home/u/.Trash"s, ""s, "/home/u/.Trash\0"s}) {
      EXPECT_EQ(world.recycle("/home/u", place, {"a"}).localizedDescription(),
                moveRefusal("a", "the place of the Trash is not known"));
    }
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(TrashUsers, NameAnOriginByAnAbsolutePath) {
  World::play([](World& world) {
    EXPECT_TRUE(recycleFile(world, "a"));
    for (const std::string& origin : {"home/u/a"s, ""s, "/"s, "/home/u/."s, "/home/u/.."s, "/home/u/a\0"s}) {
      const platform::TrashedItems found = world.itemsFrom(origin, World::kTrashLink);
      EXPECT_EQ(found.status.code(), EINVAL) << origin;
      EXPECT_TRUE(found.status.localizedDescription().ends_with("because that is not the place of an item."))
          << found.status.localizedDescription();
    }
  });
}

// The user's rights are taken, and given up again, for the Trash that the link shows, for those of the path, for what
// is in them, and for the move.
TEST(TrashUsers, AreServedOnlyWithRightsThatRootCanTakeInEachStep) {
  World::play([](World& world) {
    world.actAsRoot("u");
    EXPECT_TRUE(recycleFile(world, "a"));
    const TrashedItem item = world.itemsFrom("/home/u/a").at(0);
    for (const int nth : {3, 5}) {
      inChild([&] {
        failSystemCallOnce(SYS_setgroups, nth, EPERM);
        const platform::TrashedItems found = world.itemsFrom("/home/u/a", World::kTrashLink);
        EXPECT_EQ(found.status.code(), EPERM) << nth;
        EXPECT_TRUE(found.items.empty());
      });
    }
    for (const int nth : {3, 5, 7}) {
      inChild([&] {
        failSystemCallOnce(SYS_setgroups, nth, EPERM);
        EXPECT_EQ(world.putBack(item, World::kTrashLink, MissingFolders::Fail).code(), EPERM) << nth;
      });
    }
    EXPECT_EQ(world.contentsOf(kTrash + "/files/a"), "a");
  });
}

// Leftovers.

TEST(LeftWorkFolders, AreRootsToRemoveWhenItWorksForTheUser) {
  World::play([](World& world) {
    EXPECT_TRUE(recycleFile(world, "a"));
    const std::string left = kTrash + "/" + kLeftWorkFolder;
    world.makeFolder(left);
    world.setMode(left, 0700);
    EXPECT_EQ(world.itemsFrom("/home/u/a").size(), 1U);
    EXPECT_TRUE(recycleFile(world, "b"));
    EXPECT_EQ(world.kindOf(left), ItemKind::Folder) << "as the user alone it is not ours";
    world.giveTo(0, left);
    world.actAsRoot("u");
    EXPECT_TRUE(recycleFile(world, "c"));
    EXPECT_EQ(world.kindOf(left), ItemKind::Nothing);
  });
}

TEST(LeftWorkFolders, AreNotLookedForInRootsOwnTrash) {
  World::play([](World& world) {
    world.actAsRoot("root");
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "/root/.Trash", {"a"}));
    const std::string left = "/root/.local/share/Trash/" + kLeftWorkFolder;
    world.makeRootsFolder(left);
    world.setMode(left, 0700);
    EXPECT_EQ(world.itemsFrom("/home/u/a", "/root/.Trash").items.size(), 1U);
    EXPECT_EQ(world.kindOf(left), ItemKind::Folder);
  });
}

// Trashes of other volumes, and none of them.

TEST(TrashesOfAPath, AreListedNewestFirstFromAllOfThem) {
  World::play([](World& world) {
    world.makeVolume(kStick);
    world.makeFolder(kStick + "/.Trash");
    world.setMode(kStick + "/.Trash", 01777);
    world.makeFile(kStick + "/a", "older");
    EXPECT_TRUE(world.recycle(kStick, "a"));
    world.setMode(kStick + "/.Trash", 0777);
    world.waitAMinute();
    world.makeFile(kStick + "/a", "newer");
    EXPECT_TRUE(world.recycle(kStick, "a"));
    world.setMode(kStick + "/.Trash", 01777);
    const auto items = world.itemsFrom(kStick + "/a");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].path, kStick + "/.Trash-501/files/a");
  });
}

TEST(TrashesOfAPath, OfTheHomesVolumeAreNoneAtItsTop) {
  World::play([](World& world) {
    EXPECT_TRUE(recycleFile(world, "a"));
    world.makeRootsFolder("/.Trash-501");
    EXPECT_EQ(world.itemsFrom("/home/u/a").size(), 1U);
  });
}

TEST(TrashesOfAPath, AreNoFilesOfThatName) {
  World::play([](World& world) {
    world.makeVolume(kStick);
    world.makeFile(kStick + "/a", "a");
    EXPECT_TRUE(world.recycle(kStick, "a"));
    world.makeFile(kStick + "/.Trash", "file");
    world.setMode(kStick + "/.Trash", 01644);
    EXPECT_EQ(world.itemsFrom(kStick + "/a").size(), 1U);
  });
}

TEST(TrashesOfAPath, AreNotFoundWhereNoFolderCanBeOpened) {
  World::play([](World& world) {
    EXPECT_TRUE(recycleFile(world, "a"));
    failSystemCall(SYS_openat2, EMFILE);
    const platform::TrashedItems found = world.itemsFrom("/home/u/a", World::kTrashLink);
    EXPECT_EQ(found.status.code(), EMFILE);
    EXPECT_TRUE(found.items.empty());
  });
}

TEST(TrashesOfAPath, AreNotOpenedWithRootsRights) {
  World::play([](World& world) {
    EXPECT_TRUE(recycleFile(world, "a"));
    const linux_::TrashUser user{{World::kUser, World::kUser, {World::kUser}}, World::kHome, std::nullopt, true, ""};
    linux_::TrashFinder finder;
    failSystemCall(SYS_setgroups, EPERM);
    const linux_::TrashesOfPath found = linux_::trashesOfPath("/home/u/a", user, finder);
    EXPECT_TRUE(found.trashes.empty());
    ASSERT_TRUE(found.problem);
    EXPECT_EQ(found.problem->code, EPERM);
  });
}

}  // namespace
}  // namespace qm::testing
