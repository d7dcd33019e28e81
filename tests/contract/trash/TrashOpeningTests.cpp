// SPDX-License-Identifier: MIT

// How the folders of a Trash are opened and made, and how its descriptions are read.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

#include "Platform/linux/trash/StoredItems.h"
#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashInfo.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

constexpr std::size_t kLongestText = std::size_t{32} * 1024;

linux_::TrashUser userOfTrash() {
  return {{World::kUser, World::kUser, {World::kUser}}, World::kHome, std::nullopt, false, ""};
}

linux_::OpenedTrash openedTrash() {
  return linux_::openTrashDirectory(AT_FDCWD, kTrash, userOfTrash(), "", linux_::MissingTrash::StaysMissing);
}

void trashOwnFile(World& world, const std::string& name) {
  world.makeFile("/home/u/" + name, name);
  ASSERT_TRUE(world.recycle("/home/u", name));
}

void playWithTrash(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    trashOwnFile(world, "first");
    body(world);
  });
}

void expectRefusal(const platform::Status& status, int code, const std::string& because) {
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.localizedDescription(), "“a” couldn’t be moved to the Trash because " + because + ".");
}

// The way to the home trash.

TEST(TrashOpening, NeedsNoRightToReadTheHome) {
  World::play([](World& world) {
    world.setMode("/home/u", 0300);
    trashOwnFile(world, "a");
    world.setMode("/home/u", 0700);
    expectInHomeTrash(world, "/home/u/a");
  });
}

TEST(TrashOpening, TellsWhichFolderIsInTheWay) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    world.makeFile("/home/u/file", "file");
    world.users().setHomeDirectory("/home/gone");
    expectRefusal(world.recycle("/home/u", "/home/gone/.Trash", {"a"}), ENOENT, "it doesn’t exist");
    world.users().setHomeDirectory("/home/u/file");
    expectRefusal(world.recycle("/home/u", "/home/u/file/.Trash", {"a"}), ENOTDIR,
                  "“/home/u/file” is not a real folder");
  });
}

TEST(TrashOpening, TellsThatAPartOfTheTrashIsAFile) {
  for (const std::string folder : {"/files", "/info"}) {
    World::play([&](World& world) {
      for (const char* above : {"/home/u/.local", "/home/u/.local/share", World::kHomeTrash}) world.makeFolder(above);
      world.makeFile(kTrash + folder, "file");
      world.makeFile("/home/u/a", "a");
      expectRefusal(world.recycle("/home/u", "a"), ENOTDIR, "“" + kTrash + folder + "” is not a real folder");
    });
  }
}

TEST(TrashOpening, MakesNothingWhereEverythingIsThere) {
  playWithTrash([](World& world) {
    world.makeFile("/home/u/a", "a");
    world.rename(kTrash, "/home/u/old");
    world.makeFolder(kTrash);
    for (const char* folder : {"/files", "/info"}) world.makeFolder(kTrash + folder);
    failSystemCall(SYS_mkdirat, EPERM);
    EXPECT_TRUE(world.recycle("/home/u", "a"));
  });
}

TEST(TrashOpening, MakesNothingWhereAFileIsInTheWay) {
  World::play([](World& world) {
    world.makeFile("/home/u/.local", "file");
    world.makeFile("/home/u/a", "a");
    failSystemCall(SYS_mkdirat, EPERM);
    EXPECT_EQ(world.recycle("/home/u", "a").code(), ENOTDIR);
  });
}

TEST(TrashOpening, TakesAFolderThatAnotherProgramMakesAtTheSameMoment) {
  World::play([](World& world) {
    const posix::UniqueFd home(::open(World::kHome, O_PATH | O_DIRECTORY | O_CLOEXEC));
    afterSystemCall(SYS_openat, [] { EXPECT_EQ(::mkdir("/home/u/folder", 0755), 0); });
    EXPECT_TRUE(linux_::openOrMakeFolder(home.get(), "folder", O_NOFOLLOW, linux_::MissingTrash::IsMade));
    EXPECT_EQ(world.modeOf("/home/u/folder"), 0755U);
  });
}

TEST(TrashOpening, FailsWhereAFolderCannotBeLookedAt) {
  playWithTrash([](World&) {
    failSystemCall(SYS_statx, EIO);
    const linux_::OpenedTrash trash = openedTrash();
    ASSERT_FALSE(trash);
    EXPECT_EQ(trash.problem().code, EIO);
  });
}

TEST(TrashOpening, FailsWhereItsPathIsNotKnown) {
  World::play([](World& world) {
    world.makeFile("/home/u/a", "a");
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0) << errno;
    const platform::Status status = world.recycle("/home/u", "a");
    EXPECT_EQ(::umount("/proc"), 0) << errno;  // the leak checker needs it
    EXPECT_EQ(status.code(), EIO);
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(TrashOpening, PresumesLongNamesWhereTheSystemDoesNotSay) {
  World::play([](World& world) {
    for (const long call : {SYS_fstatfs, SYS_statfs}) failSystemCall(call, EIO);
    const std::string name(200, 'n');
    trashOwnFile(world, name);
    EXPECT_EQ(expectInHomeTrash(world, "/home/u/" + name), name);
  });
}

// The Trashes of other volumes.

void makeStickWithFile(World& world) {
  world.makeVolume(kStick);
  world.makeFolder(kStick + "/folder");
  world.makeFile(kStick + "/folder/a", "a");
}

TEST(TrashOfAVolume, NeedsNoRightToReadItsTop) {
  World::play([](World& world) {
    makeStickWithFile(world);
    world.setMode(kStick, 0300);
    EXPECT_TRUE(world.recycle(kStick + "/folder", "a"));
    world.setMode(kStick, 0700);
    expectRestorable(world, kStick + "/folder/a", kStick + "/.Trash-501", kStick);
  });
}

TEST(TrashOfAVolume, NeedsNoRightToReadTheSharedOne) {
  World::play([](World& world) {
    makeStickWithFile(world);
    world.makeRootsFolder(kStick + "/.Trash");
    world.setMode(kStick + "/.Trash", 01733);
    EXPECT_TRUE(world.recycle(kStick + "/folder", "a"));
    expectRestorable(world, kStick + "/folder/a", kStick + "/.Trash/501", kStick);
  });
}

TEST(TrashOfAVolume, IsNoneWhereTheVolumeIsNotKnown) {
  playWithTrash([](World& world) {
    makeStickWithFile(world);
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0) << errno;
    const platform::Status status = world.recycle(kStick + "/folder", "a");
    EXPECT_EQ(::umount("/proc"), 0) << errno;  // the leak checker needs it
    expectRefusal(status, EXDEV, "its volume has no Trash that it can be moved to");
    EXPECT_EQ(world.contentsOf(kStick + "/folder/a"), "a");
  });
}

TEST(TrashOfAVolume, IsNoneWhereAnotherVolumeHidesItsTop) {
  playWithTrash([](World& world) {
    makeStickWithFile(world);
    const posix::UniqueFd folder(::open((kStick + "/folder").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    world.makeVolume(kStick);
    expectRefusal(world.recycle("/proc/self/fd/" + std::to_string(folder.get()), "a"), EXDEV,
                  "its volume has no Trash that it can be moved to");
    EXPECT_EQ(world.namesIn(kStick), Names{});
  });
}

TEST(TrashOfAVolume, IsNoneWhereTheUserMayNotReachItsTop) {
  World::play([](World& world) {
    makeStickWithFile(world);
    world.setMode("/volumes", 0700);
    world.actAsRoot("u");
    expectRefusal(world.recycle(kStick + "/folder", "a"), EACCES,
                  "you don’t have permission to use the Trash folder “" + kStick + "”");
    EXPECT_EQ(world.contentsOf(kStick + "/folder/a"), "a");
  });
}

TEST(TrashOfAVolume, IsNotMadeByRootWhereOthersMayChangeItsTop) {
  for (const auto& [mode, group] : {std::pair(0775U, gid_t{0}), std::pair(0757U, gid_t{World::kUser})}) {
    World::play([&, mode = mode, group = group](World& world) {
      makeStickWithFile(world);
      ASSERT_EQ(::chown(kStick.c_str(), 0, group), 0);
      world.setMode(kStick, mode);
      world.actAsRoot("u");
      EXPECT_EQ(world.recycle(kStick + "/folder", "a").code(), EACCES);
      EXPECT_EQ(world.namesIn(kStick), Names{"folder"});
    });
  }
}

TEST(TrashOfAVolume, IsNotLeftWhereRootCannotGiveItAway) {
  World::play([](World& world) {
    makeStickWithFile(world);
    world.giveTo(0, kStick);
    world.actAsRoot("u");
    failSystemCall(SYS_fchownat, EPERM);
    EXPECT_EQ(world.recycle(kStick + "/folder", "a").code(), EACCES);
    EXPECT_EQ(world.namesIn(kStick), Names{"folder"});
  });
}

// Root has the user's rights for mending, for the work, and again once the Trash is made.
TEST(TrashOfAVolume, IsUsedOnlyWhereRootCanGiveUpItsRightsAgain) {
  World::play([](World& world) {
    makeStickWithFile(world);
    world.giveTo(0, kStick);
    world.actAsRoot("u");
    failSystemCallOnce(SYS_setgroups, 5, EPERM);
    EXPECT_EQ(world.recycle(kStick + "/folder", "a").code(), EPERM);
    EXPECT_EQ(world.contentsOf(kStick + "/folder/a"), "a");
    EXPECT_EQ(world.ownerOf(kStick + "/.Trash-501"), World::kUser);
    EXPECT_EQ(world.namesIn(kStick + "/.Trash-501"), Names{});
  });
}

TEST(TrashOfAVolume, IsNotGivenToTheUserWhereRootHasNotMadeIt) {
  World::play([](World& world) {
    makeStickWithFile(world);
    world.makeRootsFolder(kStick + "/.Trash-501");
    world.giveTo(0, kStick);
    world.setMode(kStick, 0700);
    world.actAsRoot("u");
    EXPECT_EQ(world.recycle(kStick + "/folder", "a").code(), EACCES);
    EXPECT_EQ(world.ownerOf(kStick + "/.Trash-501"), 0U);
  });
}

// Descriptions.

void describeItem(World& world, const std::string& stored, const std::string& text) {
  world.makeFile(kTrash + "/files/" + stored, "x");
  world.makeFile(kTrash + "/info/" + stored + ".trashinfo", text);
}

TEST(DescriptionOfAnItem, MayBeAsLongAsTheLongestPathNeeds) {
  playWithTrash([](World& world) {
    const std::string text = "[Trash Info]\nPath=/home/u/x\n";
    describeItem(world, "x", text + std::string(kLongestText - text.size(), '#'));
    EXPECT_EQ(world.itemsFrom("/home/u/x").size(), 1U);
    describeItem(world, "x", text + std::string(kLongestText + 1 - text.size(), '#'));
    EXPECT_EQ(world.itemsFrom("/home/u/x").size(), 0U);
  });
}

TEST(DescriptionOfAnItem, IsReadToItsEndInWhateverPartsItComes) {
  const std::string half = "[Trash Info]\nPath=/home/";
  for (const std::size_t more : {std::size_t{0}, std::size_t{60'000}}) {
    playWithTrash([&](World& world) {
      describeItem(world, "x", half);
      const linux_::OpenedTrash trash = openedTrash();
      ASSERT_TRUE(trash);
      afterSystemCall(SYS_read, [&] {
        World::makePlainFile(kTrash + "/info/x.trashinfo", half + "u/x\n" + std::string(more, '#'));
      });
      const auto item = linux_::storedItem(**trash, "x");
      EXPECT_EQ(item ? item->origin : "", more == 0 ? "/home/u/x" : "");
    });
  }
}

TEST(DescriptionOfAnItem, IsNoneThatCannotBeRead) {
  playWithTrash([](World& world) {
    describeItem(world, "x", "[Trash Info]\nPath=/home/u/x\n");
    const linux_::OpenedTrash trash = openedTrash();
    ASSERT_TRUE(trash);
    EXPECT_TRUE(linux_::storedItem(**trash, "x"));
    failSystemCall(SYS_read, EIO);
    EXPECT_FALSE(linux_::storedItem(**trash, "x"));
  });
}

TEST(DescriptionOfAnItem, IsNotReadFromAPipe) {
  playWithTrash([](World& world) {
    world.makeFile(kTrash + "/files/x", "x");
    const std::string pipe = kTrash + "/info/x.trashinfo";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0666), 0);
    // What was written stays while somebody has the pipe open for reading.
    const posix::UniqueFd reader(::open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    posix::UniqueFd writer(::open(pipe.c_str(), O_WRONLY | O_CLOEXEC));
    const std::string_view text = "[Trash Info]\nPath=/home/u/x\n";
    ASSERT_EQ(::write(writer.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    writer.reset();
    const linux_::OpenedTrash trash = openedTrash();
    ASSERT_TRUE(trash);
    EXPECT_FALSE(linux_::storedItem(**trash, "x"));
  });
}

// The line of a terminal's own: whoever opens it may get it as the controlling terminal.
TEST(DescriptionOfAnItem, GivesTheProcessNoTerminal) {
  playWithTrash([](World& world) {
    world.makeFile(kTrash + "/files/x", "x");
    world.makeFile(kTrash + "/info/x.trashinfo", "");
    ASSERT_EQ(::mkdir("/terminals", 0755), 0);
    ASSERT_EQ(::mount("devpts", "/terminals", "devpts", 0, "newinstance,ptmxmode=0666,mode=0666"), 0) << errno;
    const posix::UniqueFd terminal(::open("/terminals/ptmx", O_RDWR | O_NOCTTY | O_CLOEXEC));
    ASSERT_TRUE(terminal) << errno;
    ASSERT_EQ(::unlockpt(terminal.get()), 0);
    ASSERT_EQ(::mount("/terminals/0", (kTrash + "/info/x.trashinfo").c_str(), nullptr, MS_BIND, nullptr), 0) << errno;
    const linux_::OpenedTrash trash = openedTrash();
    ASSERT_TRUE(trash);
    inChild([&] {
      ASSERT_GT(::setsid(), 0) << errno;
      EXPECT_FALSE(linux_::storedItem(**trash, "x"));
      EXPECT_LT(::tcgetsid(terminal.get()), 0) << "it is the terminal of no session";
    });
  });
}

TEST(DescriptionOfAnItem, HasExactlyItsSuffix) {
  playWithTrash([](World& world) {
    const std::string text = world.contentsOf(kTrash + "/info/first.trashinfo");
    world.makeFile(kTrash + "/info/first0123456789", text);
    EXPECT_EQ(world.itemsFrom("/home/u/first").size(), 1U);
  });
}

TEST(DescriptionOfAnItem, ComesBeforeThoseOfTheSameSecondWithLowerNumbers) {
  playWithTrash([](World& world) {
    for (const char* stored : {"x 2", "x", "x 10", "x 3"}) {
      describeItem(world, stored, "[Trash Info]\nPath=/home/u/x\nDeletionDate=2024-02-29T23:05:07\n");
    }
    Names paths;
    for (const auto& item : world.itemsFrom("/home/u/x")) paths.push_back(item.path);
    const std::string files = kTrash + "/files/";
    EXPECT_EQ(paths, (Names{files + "x 10", files + "x 3", files + "x 2", files + "x"}));
  });
}

TEST(DescriptionOfAnItem, ComesBeforeOlderOnesWithLongerNames) {
  playWithTrash([](World& world) {
    describeItem(world, "x 10", "[Trash Info]\nPath=/home/u/x\nDeletionDate=2024-02-29T23:05:07\n");
    describeItem(world, "x", "[Trash Info]\nPath=/home/u/x\nDeletionDate=2024-02-29T23:05:08\n");
    Names paths;
    for (const auto& item : world.itemsFrom("/home/u/x")) paths.push_back(item.path);
    EXPECT_EQ(paths, (Names{kTrash + "/files/x", kTrash + "/files/x 10"}));
  });
}

TEST(DescriptionOfAnItem, HasNoValueWithoutAnEqualsSign) {
  const auto description = linux_::parsedTrashInfo("[Trash Info]\nPath\nPath=/a\n");
  ASSERT_TRUE(description);
  EXPECT_EQ(description->path, "/a");
}

TEST(DescriptionOfAnItem, IsOnTheDiskOnceItIsGoneForGood) {
  playWithTrash([](World& world) {
    world.withUsersRights([&] { world.trash().makeDurable(); });
    EXPECT_TRUE(world.putBackNewest("/home/u/first"));
    bool isFlushed = false;
    watchSystemCalls({SYS_syncfs}, [&](const SystemCall&) {
      isFlushed = true;
      return 0;
    });
    world.withUsersRights([&] { world.trash().makeDurable(); });
    EXPECT_TRUE(isFlushed);
  });
}

}  // namespace
}  // namespace qm::testing
