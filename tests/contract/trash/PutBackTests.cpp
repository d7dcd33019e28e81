// SPDX-License-Identifier: MIT

// Putting back on a real system: other volumes, other Trashes, and what can be in the way.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;
using platform::MissingFolders;

void putFileIntoTrash(World& world, const std::string& name) {
  world.makeFile("/home/u/" + name, name);
  ASSERT_TRUE(world.recycle("/home/u", name));
}

// Other programs, and moves with administrator rights, put items of other volumes into the home trash.
void putIntoHomeTrash(World& world, const std::string& stored, const std::string& origin) {
  world.makeFile(kTrash + "/info/" + stored + ".trashinfo",
                 "[Trash Info]\nPath=" + origin + "\nDeletionDate=2024-02-29T23:05:07\n");
}

void makeTree(World& world, const std::string& path) {
  world.makeFolder(path);
  world.makeFolder(path + "/inner");
  world.makeFile(path + "/inner/file", "deep");
  world.setMode(path + "/inner/file", 0640);
  world.makeLink(path + "/link", "inner");
}

void expectTree(World& world, const std::string& path) {
  EXPECT_EQ(world.contentsOf(path + "/inner/file"), "deep");
  EXPECT_EQ(world.modeOf(path + "/inner/file"), 0640U);
  EXPECT_EQ(world.contentsOf(path + "/link"), "inner");
}

void expectStays(World& world, const std::string& origin, int code, const std::string& because,
                 MissingFolders missing = MissingFolders::Fail) {
  const platform::Status status = world.putBackNewest(origin, missing);
  EXPECT_EQ(status.code(), code);
  const std::string name = origin.substr(origin.rfind('/') + 1);
  EXPECT_EQ(status.localizedDescription(), "“" + name + "” couldn’t be put back because " + because + ".");
  EXPECT_EQ(world.itemsFrom(origin).size(), 1U) << "it stays, with its description";
}

TEST(PutBack, AcrossVolumesTheWholeItemComesBack) {
  World::play([](World& world) {
    putFileIntoTrash(world, "other");
    world.makeVolume(kStick);
    makeTree(world, kTrash + "/files/Tree");
    putIntoHomeTrash(world, "Tree", kStick + "/Tree");
    EXPECT_TRUE(world.putBackNewest(kStick + "/Tree"));
    expectTree(world, kStick + "/Tree");
    EXPECT_EQ(world.namesIn(kStick), Names{"Tree"});
    EXPECT_EQ(world.namesIn(kTrash + "/files"), Names{"other"});
    EXPECT_EQ(world.namesIn(kTrash + "/info"), Names{"other.trashinfo"});
  });
}

TEST(PutBack, AcrossVolumesNothingIsReplacedAndAFailureLeavesNothing) {
  World::play([](World& world) {
    putFileIntoTrash(world, "other");
    world.mountVolume(kStick, "mode=0755,uid=501,gid=501,size=64k");
    makeTree(world, kTrash + "/files/Tree");
    world.makeFile(kTrash + "/files/Tree/large", std::string(200'000, 'x'));
    putIntoHomeTrash(world, "Tree", kStick + "/Tree");
    expectStays(world, kStick + "/Tree", ENOSPC, "there is no space left on its volume");
    EXPECT_EQ(world.namesIn(kStick), Names{});
    world.makeLink(kStick + "/Tree", "/nowhere");
    expectStays(world, kStick + "/Tree", EEXIST, "something else is there now");
    EXPECT_EQ(world.contentsOf(kStick + "/Tree"), "/nowhere");
    expectTree(world, kTrash + "/files/Tree");
  });
}

TEST(PutBack, AcrossVolumesALinkComesBackAsTheLink) {
  World::play([](World& world) {
    putFileIntoTrash(world, "other");
    world.makeVolume(kStick);
    world.makeLink(kTrash + "/files/link", "/nowhere");
    putIntoHomeTrash(world, "link", kStick + "/link");
    EXPECT_TRUE(world.putBackNewest(kStick + "/link"));
    EXPECT_EQ(world.contentsOf(kStick + "/link"), "/nowhere");
  });
}

TEST(PutBack, FoldersThatTheirOwnerLockedComeBackAsTheyWere) {
  World::play([](World& world) {
    makeTree(world, "/home/u/Locked");
    world.setMode("/home/u/Locked", 0555);
    EXPECT_TRUE(world.recycle("/home/u", "Locked"));
    EXPECT_TRUE(world.putBackNewest("/home/u/Locked"));
    EXPECT_EQ(world.modeOf("/home/u/Locked"), 0555U);
    expectTree(world, "/home/u/Locked");
  });
}

TEST(PutBack, FolderThatMayNotBeWrittenIsAReason) {
  World::play([](World& world) {
    world.makeFolder("/shared");
    world.makeFile("/shared/a", "a");
    EXPECT_TRUE(world.recycle("/shared", "a"));
    world.giveTo(0, "/shared");
    expectStays(world, "/shared/a", EACCES, "you don’t have permission to move it");
    world.setMode("/shared", 0700);
    expectStays(world, "/shared/a", EACCES, "you don’t have permission to move it");
  });
}

TEST(PutBack, FolderAboveThatMayNotBePassedOrWrittenIsAReason) {
  World::play([](World& world) {
    for (const char* folder : {"/shared", "/shared/inner"}) world.makeFolder(folder);
    world.makeFile("/shared/inner/a", "a");
    EXPECT_TRUE(world.recycle("/shared/inner", "a"));
    world.giveTo(0, "/shared");
    world.setMode("/shared", 0700);
    expectStays(world, "/shared/inner/a", EACCES, "you don’t have permission to open its folder");
    world.setMode("/shared", 0755);
    world.removeTree("/shared/inner");
    expectStays(world, "/shared/inner/a", ENOENT, "its folder doesn’t exist");
    expectStays(world, "/shared/inner/a", EACCES, "you don’t have permission to open its folder",
                MissingFolders::AreMade);
  });
}

TEST(PutBack, FileWhereItsFolderWasIsAReason) {
  World::play([](World& world) {
    world.makeFolder("/home/u/Folder");
    world.makeFile("/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "a"));
    world.removeTree("/home/u/Folder");
    world.makeFile("/home/u/Folder", "file");
    expectStays(world, "/home/u/Folder/a", ENOTDIR, "a part of the path to it is not a folder");
    expectStays(world, "/home/u/Folder/a", ENOTDIR, "a part of the path to it is not a folder",
                MissingFolders::AreMade);
  });
}

TEST(PutBack, VolumeThatCannotBeChangedIsAReason) {
  World::play([](World& world) {
    putFileIntoTrash(world, "other");
    world.makeVolume(kStick);
    makeTree(world, kTrash + "/files/Tree");
    putIntoHomeTrash(world, "Tree", kStick + "/Tree");
    world.makeReadOnly(kStick);
    expectStays(world, kStick + "/Tree", EROFS, "its volume can’t be changed");
    expectTree(world, kTrash + "/files/Tree");
  });
}

TEST(PutBack, VolumeMountedInTheItemIsAReason) {
  World::play([](World& world) {
    makeTree(world, "/home/u/Tree");
    EXPECT_TRUE(world.recycle("/home/u", "Tree"));
    world.mountVolume(kTrash + "/files/Tree/inner", "mode=0755");
    expectStays(world, "/home/u/Tree", EBUSY, "a volume is mounted there");
    EXPECT_EQ(world.kindOf("/home/u/Tree"), ItemKind::Nothing);
  });
}

TEST(PutBack, SystemWithoutATableOfVolumesIsAReason) {
  World::play([](World& world) {
    putFileIntoTrash(world, "a");
    ASSERT_EQ(::umount2("/proc", MNT_DETACH), 0);
    const platform::Status status = world.putBackNewest("/home/u/a");
    EXPECT_FALSE(status);
    EXPECT_EQ(world.contentsOf(kTrash + "/files/a"), "a");
  });
}

TEST(PutBack, FoldersThatAreMadeAreOpenToEverybodyAndTheUsersOwn) {
  World::play([](World& world) {
    world.makeFolder("/home/u/Folder");
    world.makeFile("/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "a"));
    world.removeTree("/home/u/Folder");
    EXPECT_TRUE(world.putBackNewest("/home/u/Folder/a", MissingFolders::AreMade));
    EXPECT_EQ(world.modeOf("/home/u/Folder"), 0755U);
    EXPECT_EQ(world.ownerOf("/home/u/Folder"), World::kUser);
  });
}

TEST(PutBack, EveryTrashOfAVolumeIsLookedInto) {
  World::play([](World& world) {
    world.makeVolume(kStick);
    world.makeFile(kStick + "/a", "older");
    EXPECT_TRUE(world.recycle(kStick, "a"));
    world.makeFolder(kStick + "/.Trash");
    world.setMode(kStick + "/.Trash", 01777);
    world.waitAMinute();
    world.makeFile(kStick + "/a", "newer");
    EXPECT_TRUE(world.recycle(kStick, "a"));
    const auto items = world.itemsFrom(kStick + "/a");
    ASSERT_EQ(items.size(), 2U);
    EXPECT_EQ(items[0].path, kStick + "/.Trash/501/files/a");
    EXPECT_EQ(items[1].path, kStick + "/.Trash-501/files/a");
    EXPECT_TRUE(world.putBackNewest(kStick + "/a"));
    EXPECT_EQ(world.contentsOf(kStick + "/a"), "newer");
  });
}

TEST(PutBack, TrashOfTheVolumeOfEverythingIsLookedInto) {
  World::play([](World& world) {
    world.makeVolume("/home/u");
    world.makeFolder("/Applications");
    world.makeFile("/Applications/a", "a");
    world.makeFolder("/.Trash-501");
    EXPECT_TRUE(world.recycle("/Applications", "a"));
    EXPECT_EQ(world.itemsFrom("/Applications/a").at(0).path, "/.Trash-501/files/a");
    world.setMode("/Applications", 0777);
    EXPECT_TRUE(world.putBackNewest("/Applications/a"));
    EXPECT_EQ(world.contentsOf("/Applications/a"), "a");
  });
}

TEST(PutBack, TrashThatTheUsersLinkShowsIsLookedInto) {
  World::play([](World& world) {
    world.makeFolder("/home/u/other");
    for (const char* folder : {"", "/files", "/info"}) world.makeFolder(std::string("/home/u/other/Trash") + folder);
    world.makeLink(World::kTrashLink, "other/Trash/files");
    world.makeFile("/home/u/other/Trash/files/a", "a");
    world.makeFile("/home/u/other/Trash/info/a.trashinfo", "[Trash Info]\nPath=/home/u/a\n");
    for (const bool asRoot : {false, true}) {
      if (asRoot) world.actAsRoot("u");
      EXPECT_EQ(world.itemsFrom("/home/u/a").at(0).path, "/home/u/other/Trash/files/a");
    }
    EXPECT_TRUE(world.putBackNewest("/home/u/a"));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    EXPECT_EQ(world.kindOf("/home/u/.local"), ItemKind::Nothing) << "no other one is made";
  });
}

TEST(PutBack, TrashOfTheEnvironmentsChoiceIsLookedInto) {
  World::play([](World& world) {
    world.makeFolder("/home/u/data");
    world.useDataHome("/home/u/data");
    putFileIntoTrash(world, "a");
    EXPECT_EQ(world.itemsFrom("/home/u/a").at(0).path, "/home/u/data/Trash/files/a");
    EXPECT_TRUE(world.putBackNewest("/home/u/a"));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(PutBack, TrashThatCannotBeUsedIsToldOfBesideWhatWasFoundElsewhere) {
  World::play([](World& world) {
    world.makeVolume(kStick);
    world.makeFile(kStick + "/a", "a");
    EXPECT_TRUE(world.recycle(kStick, "a"));
    world.removeTree(kTrash);
    world.makeFolder(kTrash);
    world.giveTo(0, kTrash);
    const platform::TrashedItems found = world.itemsFrom(kStick + "/a", World::kTrashLink);
    EXPECT_EQ(found.items.size(), 1U);
    EXPECT_EQ(found.status.code(), EPERM);
    EXPECT_EQ(
        found.status.localizedDescription(),
        "“a” couldn’t be looked for in the Trash because the Trash folder “" + kTrash + "” belongs to somebody else.");
  });
}

TEST(PutBack, TrashThatCannotBeListedIsToldOf) {
  World::play([](World& world) {
    putFileIntoTrash(world, "a");
    world.setMode(kTrash + "/info", 0300);
    const platform::TrashedItems found = world.itemsFrom("/home/u/a", World::kTrashLink);
    EXPECT_TRUE(found.items.empty());
    EXPECT_EQ(found.status.code(), EACCES);
  });
}

TEST(PutBack, ItemWhosePathLeadsElsewhereNowIsNotFoundThere) {
  World::play([](World& world) {
    world.makeFolder("/home/u/Folder");
    world.makeFile("/home/u/Folder/a", "a");
    EXPECT_TRUE(world.recycle("/home/u/Folder", "a"));
    world.makeFolder("/home/u/elsewhere");
    world.removeTree("/home/u/Folder");
    world.makeLink("/home/u/Folder", "elsewhere");
    EXPECT_TRUE(world.itemsFrom("/home/u/Folder/a").empty()) << "the path leads elsewhere now";
    EXPECT_EQ(world.namesIn("/home/u/elsewhere"), Names{});
    EXPECT_EQ(world.contentsOf(kTrash + "/files/a"), "a");
  });
}

TEST(PutBack, DescriptionThatChangesMeanwhileIsLeftAlone) {
  World::play([](World& world) {
    putFileIntoTrash(world, "a");
    const std::string info = kTrash + "/info/a.trashinfo";
    afterSystemCall(SYS_renameat2, [&] { World::makePlainFile(info, "another's"); });
    EXPECT_TRUE(world.putBackNewest("/home/u/a"));
    EXPECT_EQ(world.contentsOf(info), "another's");
  });
}

TEST(PutBack, ComesBackWhereRenamingCannotBeExclusive) {
  World::play([](World& world) {
    putFileIntoTrash(world, "a");
    putFileIntoTrash(world, "b");
    world.makeFile("/home/u/b", "new");
    failSystemCall(SYS_renameat2, EINVAL);
    EXPECT_TRUE(world.putBackNewest("/home/u/a"));
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
    expectRefused(world.putBackNewest("/home/u/b"));
    EXPECT_EQ(world.contentsOf("/home/u/b"), "new");
  });
}

}  // namespace
}  // namespace qm::testing
