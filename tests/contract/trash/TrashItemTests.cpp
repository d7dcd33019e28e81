// SPDX-License-Identifier: MIT

// Items that are hard to move on a real system: rights, locks, mounts, old file systems.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <chrono>

#include "Platform/posix/UniqueFd.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

std::string sentence(const std::string& name, const std::string& because) {
  return "“" + name + "” couldn’t be moved to the Trash because " + because + ".";
}

void expectRefusal(World& world, const std::string& folder, const std::string& name, int code,
                   const std::string& because) {
  const ItemKind kind = world.kindOf(folder + "/" + name);
  const platform::Status status = world.recycle(folder, name);
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.localizedDescription(), sentence(name, because));
  EXPECT_EQ(world.kindOf(folder + "/" + name), kind);
  expectNothingIn(world, kTrash);
}

TEST(TrashItems, AreTheSameFilesAsBefore) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    world.setMode("/home/u/a", 04751);
    const ino_t inode = world.inodeOf("/home/u/a");
    EXPECT_TRUE(world.recycle("/home/u", "a"));
    EXPECT_EQ(world.inodeOf(kTrash + "/files/a"), inode);
    EXPECT_EQ(world.modeOf(kTrash + "/files/a"), 04751U);
  });
}

TEST(TrashItems, MayBeOfAnyKind) {
  World::play([](World& world) {
    ASSERT_EQ(::mkfifo("/home/u/pipe", 0600), 0);
    world.giveTo(World::kUser, "/home/u/pipe");
    EXPECT_TRUE(world.recycle("/home/u", "pipe"));
    expectInHomeTrash(world, "/home/u/pipe");
  });
}

TEST(TrashItems, MayBeFilesThatTheUserMayNotRead) {
  World::play([](World& world) {
    world.makeFile("/home/u/secret", "x");
    world.giveTo(World::kStranger, "/home/u/secret");
    world.setMode("/home/u/secret", 0);
    EXPECT_TRUE(world.recycle("/home/u", "secret"));
    expectInHomeTrash(world, "/home/u/secret");
    EXPECT_EQ(world.ownerOf(kTrash + "/files/secret"), World::kStranger);
  });
}

TEST(TrashItems, StayInAFolderThatMayNotBeWrittenTo) {
  World::play([](World& world) {
    world.makeFolder("/home/u/readonly");
    world.makeFile("/home/u/readonly/a", "a");
    world.makeFolder("/home/u/readonly/d");
    world.setMode("/home/u/readonly/d", 0555);
    world.setMode("/home/u/readonly", 0555);
    expectRefusal(world, "/home/u/readonly", "a", EACCES, "you don’t have permission to move it");
    expectRefusal(world, "/home/u/readonly", "d", EACCES, "you don’t have permission to move it");
    EXPECT_EQ(world.modeOf("/home/u/readonly/d"), 0555U);
    EXPECT_EQ(world.modeOf("/home/u/readonly"), 0555U);
  });
}

TEST(TrashItems, StayInAFolderThatMayNotBeEntered) {
  World::play([](World& world) {
    world.makeFolder("/home/u/closed");
    world.makeFolder("/home/u/closed/d");
    world.makeFile("/home/u/closed/d/a", "a");
    world.giveTo(0, "/home/u/closed");
    world.setMode("/home/u/closed", 0700);
    expectRefusal(world, "/home/u/closed/d", "a", EACCES, "you don’t have permission to open its folder");
    expectRefusal(world, "/home/u/closed", "d", EACCES, "you don’t have permission to move it");
  });
}

TEST(TrashItems, MayBeOwnFoldersWithoutWritePermissionAndKeepTheirModes) {
  World::play([](World& world) {
    for (const mode_t mode : {0555U, 0500U, 0U, 01555U, 02555U, 04555U}) {
      const std::string name = std::to_string(mode);
      const std::string path = std::string(World::kHome).append("/").append(name);
      world.makeFolder(path);
      world.setMode(path, mode);
      EXPECT_TRUE(world.recycle("/home/u", name));
      expectInHomeTrash(world, path);
      EXPECT_EQ(world.modeOf(std::string(World::kTrashLink).append("/").append(name)), mode);
    }
  });
}

TEST(TrashItems, MayBeCalledLikeTheTrashInAnotherFolder) {
  World::play([](World& world) {
    world.makeFolder("/home/u/sub");
    world.makeFile("/home/u/sub/.Trash", "mine");
    EXPECT_TRUE(world.recycle("/home/u/sub", ".Trash"));
    expectInHomeTrash(world, "/home/u/sub/.Trash");
  });
}

TEST(TrashItems, MayLieInAFolderBehindALinkThatMayBeSearchedButNotRead) {
  World::play([](World& world) {
    world.makeFolder("/home/u/dark");
    world.makeFile("/home/u/dark/a", "a");
    world.setMode("/home/u/dark", 0300);
    world.makeLink("/home/u/link", "dark");
    EXPECT_TRUE(world.recycle("/home/u/link", "a"));
    expectInHomeTrash(world, "/home/u/dark/a");
  });
}

TEST(TrashItems, LieInNoFileThatALinkLeadsTo) {
  World::play([](World& world) {
    world.makeFile("/home/u/file", "x");
    world.makeLink("/home/u/link", "file");
    expectRefusal(world, "/home/u/link", "a", ENOTDIR, "a part of the path to it is not a folder");
  });
}

TEST(TrashItems, BearTheDateOfTheirOwnDeletion) {
  World::play([](World& world) {
    for (const std::string name : {"first", "second"}) {
      world.makeFile("/home/u/" + name, name);
      EXPECT_TRUE(world.recycle("/home/u", name));
      world.clock().advance(std::chrono::seconds(61));
    }
    const std::string path = "[Trash Info]\nPath=/home/u/";
    EXPECT_EQ(world.contentsOf(kTrash + "/info/first.trashinfo"), path + "first\nDeletionDate=2024-02-29T23:05:07\n");
    EXPECT_EQ(world.contentsOf(kTrash + "/info/second.trashinfo"), path + "second\nDeletionDate=2024-02-29T23:06:08\n");
  });
}

TEST(TrashItems, StayWhenTheyAreSomebodyElsesFolders) {
  World::play([](World& world) {
    world.makeFolder("/home/u/foreign");
    world.giveTo(World::kStranger, "/home/u/foreign");
    expectRefusal(world, "/home/u", "foreign", EACCES, "you don’t have permission to move it");
    EXPECT_EQ(world.modeOf("/home/u/foreign"), 0755U);
  });
}

TEST(TrashItems, StayWhenTheyAreSomebodyElsesInAStickyFolder) {
  World::play([](World& world) {
    world.makeFile("/tmp/mine", "m");
    world.makeFile("/tmp/foreign", "f");
    world.giveTo(World::kStranger, "/tmp/foreign");
    expectRefusal(world, "/tmp", "foreign", EPERM, "it is locked or belongs to somebody else");
    EXPECT_TRUE(world.recycle("/tmp", "mine"));
    expectInHomeTrash(world, "/tmp/mine");
  });
}

TEST(TrashItems, StayWhenTheyAreMissing) {
  World::play([](World& world) { expectRefusal(world, "/home/u", "a", ENOENT, "it doesn’t exist"); });
}

TEST(TrashItems, AreNamedWithoutLineEndsInTheSentence) {
  World::play([](World& world) {
    EXPECT_EQ(world.recycle("/home/u", "a\nb\tc").localizedDescription(), sentence("a?b?c", "it doesn’t exist"));
    EXPECT_EQ(world.recycle("/home/u", "\u009bK\x9b").localizedDescription(), sentence("?K?", "it doesn’t exist"));
  });
}

TEST(TrashItems, AreRefusedInWordsThatSayWhy) {
  World::play([](World& world) {
    EXPECT_TRUE(world.recycle("/home/u", World::kTrashLink, {}));
    expectRefusal(world, "/home/u", "..", EINVAL, "that is not the name of an item");
    expectRefusal(world, kTrash, "files", EINVAL, "it is already in the Trash");
    expectRefusal(world, "/home", "u", EINVAL, "the Trash itself is in it");
    expectRefusal(world, "/home/u", ".Trash", EINVAL, "it is the Trash itself");
    expectRefusal(world, "/missing", "a", ENOENT, "its folder doesn’t exist");
    expectRefusal(world, "/etc/passwd", "a", ENOTDIR, "a part of the path to it is not a folder");
    expectRefusal(world, "etc", "a", EINVAL, "the place of its folder is not known");
    world.makeLink("/home/u/loop", "loop");
    expectRefusal(world, "/home/u/loop", "a", ELOOP, "the links to its folder lead in a circle");
    EXPECT_EQ(world.recycle("/home/u", std::nullopt, {"a"}).localizedDescription(),
              sentence("a", "nobody is logged in"));
  });
}

/// If the attribute may not be set (without the machine's real root), every rename is made to fail like that of a
/// locked item.
void lock(const std::string& path) {
  const posix::UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  int flags = FS_IMMUTABLE_FL;
  if (::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) != 0) failSystemCall(SYS_renameat2, EPERM);
}

TEST(TrashItems, StayWhenTheyAreLocked) {
  World::play([](World& world) {
    world.makeFile("/home/u/locked", "x");
    lock("/home/u/locked");
    expectRefusal(world, "/home/u", "locked", EPERM, "it is locked or belongs to somebody else");
    EXPECT_EQ(world.contentsOf("/home/u/locked"), "x");
  });
}

TEST(TrashItems, StayWhenTheyAreMountPoints) {
  World::play([](World& world) {
    world.makeFolder("/home/u/volume");
    world.mountVolume("/home/u/volume", "mode=0755,uid=501");
    expectRefusal(world, "/home/u", "volume", EBUSY, "a volume is mounted there");
  });
}

TEST(TrashItems, StayWhenAVolumeIsMountedInThem) {
  World::play([](World& world) {
    world.makeFolder("/home/u/holder");
    world.makeFolder("/home/u/holder 2");
    world.makeFolder("/home/u/holder/inner volume");
    world.mountVolume("/home/u/holder/inner volume", "mode=0755,uid=501");
    world.makeFile("/home/u/holder/inner volume/a", "a");
    expectRefusal(world, "/home/u", "holder", EBUSY, "a volume is mounted there");
    EXPECT_EQ(world.contentsOf("/home/u/holder/inner volume/a"), "a");
    EXPECT_TRUE(world.recycle("/home/u", "holder 2"));
  });
}

TEST(TrashItems, StayWhenTheMountedVolumesCannotBeSeen) {
  World::play([](World& world) {
    world.makeFile("/home/u/file", "a");
    world.makeFolder("/home/u/holder");
    ASSERT_TRUE(world.recycle("/home/u", "file"));  // the Trash is known from here on
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0) << errno;
    const platform::Status status = world.recycle("/home/u", "holder");
    EXPECT_EQ(status.code(), ENOTSUP);
    EXPECT_EQ(status.localizedDescription(), sentence("holder", "it is not known whether a volume is mounted in it"));
    EXPECT_EQ(world.kindOf("/home/u/holder"), ItemKind::Folder);
    EXPECT_EQ(::umount("/proc"), 0) << errno;  // the leak checker needs it
  });
}

TEST(TrashItems, StayOrGoAsVolumesAreMountedInThemBetweenTwoCalls) {
  World::play([](World& world) {
    world.makeFolder("/home/u/first");
    world.makeFolder("/home/u/holder");
    world.makeFolder("/home/u/holder/inner");
    EXPECT_TRUE(world.recycle("/home/u", "first"));
    world.mountVolume("/home/u/holder/inner", "mode=0755,uid=501");
    EXPECT_EQ(world.recycle("/home/u", "holder").code(), EBUSY);
    EXPECT_EQ(world.recycle("/home/u", "holder").code(), EBUSY);
    ASSERT_EQ(::umount("/home/u/holder/inner"), 0) << errno;
    EXPECT_TRUE(world.recycle("/home/u", "holder"));
    expectInHomeTrash(world, "/home/u/holder");
  });
}

// File systems without a rename that does not replace.

class TrashOnOldFileSystems : public ::testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Answers, TrashOnOldFileSystems, ::testing::Values(EINVAL, ENOSYS, EOPNOTSUPP));

constexpr int kRenameFlags = 4;  // the index of renameat2's flags among its arguments

TEST_P(TrashOnOldFileSystems, MovesEveryKindOfItem) {
  World::play([](World& world) {
    world.makeFile("/home/u/file", "f");
    world.makeFolder("/home/u/folder");
    world.makeFile("/home/u/folder/a", "a");
    world.makeLink("/home/u/link", "folder");
    failSystemCall(SYS_renameat2, GetParam(), kRenameFlags);
    EXPECT_TRUE(world.recycle("/home/u", World::kTrashLink, {"file", "folder", "link"}));
    EXPECT_EQ(world.contentsOf(kTrash + "/files/file"), "f");
    EXPECT_EQ(world.contentsOf(kTrash + "/files/folder/a"), "a");
    EXPECT_EQ(world.contentsOf(kTrash + "/files/link"), "folder");
    EXPECT_EQ(entriesIn(world, kTrash).size(), 3U);
  });
}

TEST_P(TrashOnOldFileSystems, OverwritesNothing) {
  World::play([](World& world) {
    EXPECT_TRUE(world.recycle("/home/u", World::kTrashLink, {}));
    world.makeFile(kTrash + "/files/file", "orphan");
    world.makeFolder(kTrash + "/files/folder");
    world.makeFile("/home/u/file", "f");
    world.makeFolder("/home/u/folder");
    failSystemCall(SYS_renameat2, GetParam(), kRenameFlags);
    EXPECT_TRUE(world.recycle("/home/u", World::kTrashLink, {"file", "folder"}));
    EXPECT_EQ(world.contentsOf(kTrash + "/files/file"), "orphan");
    EXPECT_NE(expectInHomeTrash(world, "/home/u/file"), "file");
    EXPECT_NE(expectInHomeTrash(world, "/home/u/folder"), "folder");
  });
}

TEST_P(TrashOnOldFileSystems, LeavesNoPlaceholderBehindAFailure) {
  World::play([](World& world) {
    world.makeFolder("/home/u/readonly");
    world.makeFile("/home/u/readonly/a", "a");
    world.makeFolder("/home/u/readonly/d");
    world.setMode("/home/u/readonly", 0555);
    failSystemCall(SYS_renameat2, GetParam(), kRenameFlags);
    expectRefusal(world, "/home/u/readonly", "a", EACCES, "you don’t have permission to move it");
    expectRefusal(world, "/home/u/readonly", "d", EACCES, "you don’t have permission to move it");
  });
}

}  // namespace
}  // namespace qm::testing
