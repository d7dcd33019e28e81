// SPDX-License-Identifier: MIT

// Other volumes than the home's: which Trash is theirs, and which is refused.

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>

#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

const std::string kShared = kStick + "/.Trash";
const std::string kOwn = kStick + "/.Trash-501";

void makeStick(World& world) {
  world.makeVolume(kStick);
  world.makeFile(kStick + "/a", "a");
}

void expectUsesOwn(World& world) {
  EXPECT_TRUE(world.recycle(kStick, "a"));
  expectRestorable(world, kStick + "/a", kOwn, kStick);
  EXPECT_EQ(world.modeOf(kOwn), 0700U);
  EXPECT_EQ(world.ownerOf(kOwn), World::kUser);
}

void expectStays(World& world, int code) {
  const platform::Status status = world.recycle(kStick, "a");
  expectRefused(status);
  EXPECT_EQ(status.code(), code) << status.localizedDescription();
  EXPECT_EQ(world.contentsOf(kStick + "/a"), "a");
  expectNothingIn(world, World::kHomeTrash);
}

void makeShared(World& world, mode_t mode) {
  world.makeFolder(kShared);
  world.giveTo(0, kShared);
  world.setMode(kShared, mode);
}

TEST(TrashVolumes, UseTheSharedTrashWhenItHasTheStickyBit) {
  World::play([](World& world) {
    makeStick(world);
    makeShared(world, 01777);
    EXPECT_TRUE(world.recycle(kStick, "a"));
    expectRestorable(world, kStick + "/a", kShared + "/501", kStick);
    EXPECT_EQ(world.modeOf(kShared + "/501"), 0700U);
    EXPECT_EQ(world.modeOf(kShared + "/501/files"), 0700U);
    EXPECT_EQ(world.kindOf(kOwn), ItemKind::Nothing);
  });
}

TEST(TrashVolumes, UseTheUsersOwnTrashWhenTheSharedOneIsNotSticky) {
  World::play([](World& world) {
    makeStick(world);
    makeShared(world, 0777);
    expectUsesOwn(world);
    EXPECT_EQ(world.namesIn(kShared), Names{});
  });
}

TEST(TrashVolumes, UseTheUsersOwnTrashWhenTheSharedOneIsALink) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFolder(kStick + "/target");
    world.setMode(kStick + "/target", 01777);
    world.makeLink(kShared, "target");
    expectUsesOwn(world);
    EXPECT_EQ(world.namesIn(kStick + "/target"), Names{});
  });
}

TEST(TrashVolumes, UseTheUsersOwnTrashWhenTheSharedOneIsAFile) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFile(kShared, "file");
    expectUsesOwn(world);
  });
}

TEST(TrashVolumes, UseTheUsersOwnTrashWhenHisPartOfTheSharedOneIsForeign) {
  World::play([](World& world) {
    makeStick(world);
    makeShared(world, 01777);
    world.makeFolder(kShared + "/501");
    world.giveTo(World::kStranger, kShared + "/501");
    world.setMode(kShared + "/501", 0777);
    expectUsesOwn(world);
    EXPECT_EQ(world.namesIn(kShared + "/501"), Names{});
  });
}

TEST(TrashVolumes, UseTheUsersOwnTrashWhenHisPartOfTheSharedOneIsALink) {
  World::play([](World& world) {
    makeStick(world);
    makeShared(world, 01777);
    world.makeFolder(kStick + "/target");
    world.makeLink(kShared + "/501", "../target");
    expectUsesOwn(world);
    EXPECT_EQ(world.namesIn(kStick + "/target"), Names{});
  });
}

TEST(TrashVolumes, UseTheUsersOwnTrashWhenTheSharedOneMayNotBeWrittenTo) {
  World::play([](World& world) {
    makeStick(world);
    makeShared(world, 01755);
    expectUsesOwn(world);
  });
}

TEST(TrashVolumes, RefuseAForeignTrash) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFolder(kOwn);
    world.giveTo(World::kStranger, kOwn);
    world.setMode(kOwn, 0777);
    expectStays(world, EPERM);
    EXPECT_EQ(world.namesIn(kOwn), Names{});
    EXPECT_EQ(world.recycle(kStick, "a").localizedDescription(),
              "“a” couldn’t be moved to the Trash because the Trash folder “/volumes/stick/.Trash-501” belongs to "
              "somebody else.");
  });
}

TEST(TrashVolumes, RefuseALinkedTrash) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFolder(kStick + "/target");
    world.makeLink(kOwn, "target");
    expectStays(world, ENOTDIR);
    EXPECT_EQ(world.namesIn(kStick + "/target"), Names{});
  });
}

TEST(TrashVolumes, RefuseATrashWhoseInnerFolderIsLinkedOrForeign) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFolder(kStick + "/target");
    world.makeFolder(kOwn);
    world.makeLink(kOwn + "/files", "../target");
    expectStays(world, ENOTDIR);
    world.removeFile(kOwn + "/files");
    world.makeFolder(kOwn + "/files");
    world.giveTo(World::kStranger, kOwn + "/files");
    expectStays(world, EPERM);
  });
}

TEST(TrashVolumes, RefuseAFileInPlaceOfTheTrash) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFile(kOwn, "file");
    expectStays(world, ENOTDIR);
    EXPECT_EQ(world.contentsOf(kOwn), "file");
  });
}

TEST(TrashVolumes, AcceptTheUsersOwnTrashWithLooseModes) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFolder(kOwn);
    EXPECT_TRUE(world.recycle(kStick, "a"));
    expectRestorable(world, kStick + "/a", kOwn, kStick);
    EXPECT_EQ(world.modeOf(kOwn), 0755U);
  });
}

TEST(TrashVolumes, LeaveTheItemWhereItIsWhenTheVolumeIsReadOnly) {
  World::play([](World& world) {
    makeStick(world);
    world.makeReadOnly(kStick);
    expectStays(world, EROFS);
    EXPECT_EQ(world.recycle(kStick, "a").localizedDescription(),
              "“a” couldn’t be moved to the Trash because its volume can’t be changed.");
  });
}

TEST(TrashVolumes, LeaveTheItemWhereItIsWhenNoTrashMayBeMadeOnTheVolume) {
  World::play([](World& world) {
    makeStick(world);
    world.giveTo(0, kStick);
    expectStays(world, EACCES);
    EXPECT_EQ(world.kindOf(kOwn), ItemKind::Nothing);
  });
}

TEST(TrashVolumes, WorkWhenTheHomeHasNoTrash) {
  World::play([](World& world) {
    makeStick(world);
    world.giveTo(0, "/home/u");
    expectUsesOwn(world);
  });
}

TEST(TrashVolumes, StayFreeToBeEjected) {
  World::play([](World& world) {
    makeStick(world);
    expectUsesOwn(world);
    EXPECT_EQ(::umount(kStick.c_str()), 0) << errno;
  });
}

TEST(TrashVolumes, MayHaveAnyName) {
  World::play([](World& world) {
    const std::string volume = "/volumes/My \\040 Stick\n\t2";
    world.makeVolume(volume);
    world.makeFolder(volume + "/folder");
    world.makeFile(volume + "/folder/a", "a");
    EXPECT_TRUE(world.recycle(volume + "/folder", "a"));
    expectRestorable(world, volume + "/folder/a", volume + "/.Trash-501", volume);
  });
}

TEST(TrashVolumes, AreToldApartFromFoldersWhoseNameBeginsAlike) {
  World::play([](World& world) {
    makeStick(world);
    world.makeFolder("/volumes/sticky");
    world.makeFile("/volumes/sticky/a", "a");
    EXPECT_TRUE(world.recycle("/volumes/sticky", "a"));
    expectInHomeTrash(world, "/volumes/sticky/a");
  });
}

TEST(TrashVolumes, ThatShowAFolderOfTheHomesVolumeUseTheirOwnTop) {
  World::play([](World& world) {
    world.makeFolder("/home/u/shown");
    world.makeFile("/home/u/shown/a", "a");
    world.bind("/home/u/shown", kStick);
    EXPECT_TRUE(world.recycle(kStick, "a"));
    expectRestorable(world, kStick + "/a", kOwn, kStick);
    EXPECT_EQ(world.kindOf("/home/u/shown/.Trash-501"), ItemKind::Folder);
    expectNothingIn(world, World::kHomeTrash);
  });
}

TEST(TrashVolumes, ThatShowTheHomesTrashAreTakenForWhatTheyAre) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    world.makeFolder("/home/u/shown");
    world.makeFile("/home/u/shown/b", "b");
    world.bind("/home/u", kStick);
    EXPECT_TRUE(world.recycle(kStick + "/shown", "b"));
    expectRestorable(world, kStick + "/shown/b", kOwn, kStick);
    expectInHomeTrash(world, "/home/u/a");
  });
}

// The home on a volume of its own.

void makeHomeVolume(World& world) {
  world.makeVolume("/home/u");
  world.makeFolder("/opt");
  world.makeFile("/opt/a", "a");
}

TEST(TrashVolumes, OfTheSystemGetATrashWhereTheUserMayMakeOne) {
  World::play([](World& world) {
    makeHomeVolume(world);
    world.setMode("/", 0777);
    EXPECT_TRUE(world.recycle("/opt", "a"));
    expectRestorable(world, "/opt/a", "/.Trash-501", "/");
    EXPECT_EQ(world.contentsOf("/.Trash-501/info/a.trashinfo"),
              "[Trash Info]\nPath=opt/a\nDeletionDate=2024-02-29T23:05:07\n");
  });
}

TEST(TrashVolumes, OfTheSystemGetNoneWhereTheUserMayNotMakeOne) {
  World::play([](World& world) {
    makeHomeVolume(world);
    const platform::Status status = world.recycle("/opt", "a");
    EXPECT_EQ(status.code(), EACCES);
    EXPECT_EQ(status.localizedDescription(),
              "“a” couldn’t be moved to the Trash because you don’t have permission to use the Trash folder "
              "“/.Trash-501”.");
    EXPECT_EQ(world.contentsOf("/opt/a"), "a");
  });
}

TEST(TrashVolumes, OfTheSystemUseTheTrashThatAnAdministratorMade) {
  World::play([](World& world) {
    makeHomeVolume(world);
    world.makeFolder("/.Trash-501");
    EXPECT_TRUE(world.recycle("/opt", "a"));
    expectRestorable(world, "/opt/a", "/.Trash-501", "/");
  });
}

TEST(TrashVolumes, OfTheHomeUseTheHomeTrash) {
  World::play([](World& world) {
    makeHomeVolume(world);
    world.makeFile("/home/u/b", "b");
    EXPECT_TRUE(world.recycle("/home/u", "b"));
    expectInHomeTrash(world, "/home/u/b");
    expectRefused(world.recycle("/home", "u"));
  });
}

TEST(TrashVolumes, ThatHoldTheDataFolderHoldTheHomeTrash) {
  World::play([](World& world) {
    world.makeVolume("/data");
    world.makeFile("/data/a", "a");
    world.makeFile("/home/u/b", "b");
    world.setMode("/", 0777);
    world.useDataHome("/data/share");
    EXPECT_TRUE(world.recycle("/data", "a"));
    expectRestorable(world, "/data/a", "/data/share/Trash");
    EXPECT_TRUE(world.recycle("/home/u", "b"));
    expectRestorable(world, "/home/u/b", "/.Trash-501", "/");
  });
}

TEST(TrashVolumes, MountedOverEachOtherUseTheirOwnTop) {
  World::play([](World& world) {
    makeStick(world);
    world.makeVolume(kStick);
    world.makeFile(kStick + "/b", "b");
    EXPECT_TRUE(world.recycle(kStick, "b"));
    expectRestorable(world, kStick + "/b", kOwn, kStick);
    ASSERT_EQ(::umount(kStick.c_str()), 0);
    EXPECT_EQ(world.namesIn(kStick), Names{"a"});
  });
}

}  // namespace
}  // namespace qm::testing
