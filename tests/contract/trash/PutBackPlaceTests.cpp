// SPDX-License-Identifier: MIT

// Where an item is put back: the rights with which its folder is opened or made, and the steps of the user's own move.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "Platform/linux/trash/PutBack.h"
#include "Platform/linux/trash/PutBackPlace.h"
#include "Uninstaller/Product.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;
using platform::MissingFolders;

const std::string kClosed = "/closed";
const std::string kInClosed = kClosed + "/a";

linux_::TrashUser person(uid_t user, bool forAnother) {
  return {{user, user, {user}}, World::kHome, std::nullopt, forAnother, std::string(kProduct.workFolderPrefix)};
}

linux_::TrashAnswer<linux_::PutBackPlace> placeAt(const std::string& path, const linux_::TrashUser& user,
                                                  MissingFolders missing = MissingFolders::Fail) {
  return linux_::openPutBackPlace(path, user, missing);
}

// Folders of root's that the user may not enter, and an item in the Trash that came from there.
void playWithClosedFolder(const std::string& origin, const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.actAsRoot("u");
    world.makeRootsFolder(kClosed);
    world.makeFile("/home/u/other", "other");
    ASSERT_TRUE(world.recycle("/home/u", "other"));
    world.makeFile(kTrash + "/files/a", "a");
    world.makeFile(kTrash + "/info/a.trashinfo", "[Trash Info]\nPath=" + origin + "\n");
    world.setMode(kClosed, 0700);
    body(world);
  });
}

void expectStaysAt(World& world, const std::string& origin, int code, const std::string& because,
                   MissingFolders missing = MissingFolders::Fail) {
  const platform::Status status = world.putBackNewest(origin, missing);
  EXPECT_EQ(status.code(), code);
  EXPECT_EQ(status.localizedDescription(), "“a” couldn’t be put back because " + because + ".");
  EXPECT_EQ(world.contentsOf(kTrash + "/files/a"), "a");
}

TEST(PutBackPlace, IsInAFolderThatOnlyRootMayEnter) {
  playWithClosedFolder(kInClosed, [](World& world) {
    EXPECT_TRUE(world.putBackNewest(kInClosed));
    EXPECT_EQ(world.contentsOf(kInClosed), "a");
  });
}

TEST(PutBackPlace, IsMadeInAFolderThatOnlyRootMayEnter) {
  const std::string origin = kClosed + "/one/two/a";
  playWithClosedFolder(origin, [&](World& world) {
    expectStaysAt(world, origin, ENOENT, "its folder doesn’t exist");
    EXPECT_TRUE(world.putBackNewest(origin, MissingFolders::AreMade));
    EXPECT_EQ(world.contentsOf(origin), "a");
    EXPECT_EQ(world.ownerOf(kClosed + "/one/two"), 0U);
  });
}

TEST(PutBackPlace, IsNoneBelowAFile) {
  const std::string origin = kClosed + "/file/a";
  playWithClosedFolder(origin, [&](World& world) {
    world.makeFile(kClosed + "/file", "file");
    for (const MissingFolders missing : {MissingFolders::Fail, MissingFolders::AreMade}) {
      expectStaysAt(world, origin, ENOTDIR, "a part of the path to it is not a folder", missing);
    }
  });
}

TEST(PutBackPlace, IsMadeWithThePersonsRightsAloneWhereThePersonCouldLeadTheWay) {
  const std::string origin = "/home/u/Roots/missing/further/a";
  playWithClosedFolder(origin, [&](World& world) {
    world.makeRootsFolder("/home/u/Roots");
    expectStaysAt(world, origin, EACCES, "you don’t have permission to open its folder", MissingFolders::AreMade);
    EXPECT_EQ(world.namesIn("/home/u/Roots"), Names{});
  });
}

TEST(PutBackPlace, IsMadeOnlyWithRightsThatRootCanGiveUp) {
  World::play([](World& world) {
    world.makeRootsFolder(kClosed);
    failSystemCall(SYS_setgroups, EPERM);
    const auto place = placeAt(kClosed + "/folder/a", person(World::kUser, true), MissingFolders::AreMade);
    ASSERT_FALSE(place);
    EXPECT_EQ(place.problem().code, EPERM);
    EXPECT_EQ(world.namesIn(kClosed), Names{});
  });
}

TEST(PutBackPlace, MayBeMadeByAnotherProgramAtTheSameMoment) {
  World::play([](World& world) {
    afterSystemCall(SYS_openat, [] { EXPECT_EQ(::mkdir("/home/u/Folder", 0755), 0); });
    const auto place = placeAt("/home/u/Folder/a", person(World::kUser, false), MissingFolders::AreMade);
    ASSERT_TRUE(place);
    EXPECT_EQ(place->name, "a");
    EXPECT_EQ(world.modeOf("/home/u/Folder"), 0755U);
  });
}

TEST(PutBackPlace, IsOpenToRootsRightsOnlyWhereRootWorksForAnotherAndAloneLeadsTheWay) {
  World::play([](World& world) {
    world.makeRootsFolder("/roots");
    world.makeFolder("/home/u/own");
    for (const auto& [path, user, forAnother, withRootRights] :
         {std::tuple("/roots/a", World::kUser, true, true), std::tuple("/home/u/own/a", World::kUser, true, false),
          std::tuple("/roots/a", World::kUser, false, false), std::tuple("/roots/a", uid_t{0}, false, false)}) {
      const auto place = placeAt(path, person(user, forAnother));
      ASSERT_TRUE(place) << path;
      EXPECT_EQ(place->withRootRights, withRootRights) << path << " " << user << " " << forAnother;
    }
  });
}

TEST(PutBackPlace, IsToldWhyRootCannotFindItsOwn) {
  World::play([](World& world) {
    world.makeFolder("/home/u/Folder");
    world.makeLink("/home/u/link", "/etc");
    const std::string redirected = "somebody else could redirect the path to its folder";
    for (const auto& [path, code, because] :
         {std::tuple("/missing/a", ENOENT, std::string("its folder doesn’t exist")),
          std::tuple("/home/u/link/a", ELOOP, redirected), std::tuple("/home/u/Folder/../a", EPERM, redirected)}) {
      const auto place = placeAt(path, person(0, false));
      ASSERT_FALSE(place) << path;
      EXPECT_EQ(place.problem().code, code) << path;
      EXPECT_EQ(place.problem().because, because) << path;
    }
  });
}

// Root's own items.

TEST(PutBackByRootForItself, AcrossVolumesLeavesTheItemAsItIs) {
  World::play([](World& world) {
    world.actAsRoot("root");
    world.makeRootsFolder("/Applications");
    world.makeFile("/Applications/a", "a");
    world.giveTo(0, "/Applications/a");
    world.setMode("/Applications/a", 04755);
    ASSERT_TRUE(world.recycle("/Applications", "/root/.Trash", {"a"}));
    world.mountVolume("/Applications", "mode=0755");
    const auto found = world.itemsFrom("/Applications/a", "/root/.Trash");
    ASSERT_EQ(found.items.size(), 1U);
    EXPECT_TRUE(world.putBack(found.items[0], "/root/.Trash", MissingFolders::Fail));
    EXPECT_EQ(world.modeOf("/Applications/a"), 04755U);
  });
}

// The user's own move.

/// An item in the Trash of the user u and a place for it, held open as by a call of the Trash. The process works with
/// the user's rights.
class OwnMove {
 public:
  explicit OwnMove(const std::string& folder, bool withRootRights = false)
      : user_(person(World::kUser, withRootRights)),
        trash_(linux_::openTrashDirectory(AT_FDCWD, kTrash, user_, "", linux_::MissingTrash::StaysMissing)),
        place_{posix::UniqueFd(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), "a", withRootRights} {}

  linux_::TrashProblem putBack(const std::string& stored = "a") {
    linux_::FileSystemUser acting(&user_.identity);
    EXPECT_TRUE(acting.ok());
    const linux_::StoredItem item{stored, "/home/u/a", "", ""};
    const auto problem = linux_::putBack(**trash_, item, place_, user_, acting, volumes_);
    EXPECT_EQ(static_cast<uid_t>(::setfsuid(~0U)), World::kUser) << "it leaves the rights as they were";
    return problem.value_or(linux_::TrashProblem{});
  }

  int trashFiles() const { return (*trash_)->files.get(); }

 private:
  linux_::TrashUser user_;
  linux_::OpenedTrash trash_;
  linux_::PutBackPlace place_;
  linux_::MountedVolumes volumes_;
};

void playWithTrashedFile(const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    world.makeFile("/home/u/a", "a");
    ASSERT_TRUE(world.recycle("/home/u", "a"));
    body(world);
  });
}

TEST(PutBackByThePerson, ReturnsTheItem) {
  playWithTrashedFile([](World& world) {
    EXPECT_EQ(OwnMove("/home/u").putBack().code, 0);
    EXPECT_EQ(world.contentsOf("/home/u/a"), "a");
  });
}

TEST(PutBackByThePerson, FindsNothingWhereTheItemIsGone) {
  playWithTrashedFile([](World&) { EXPECT_EQ(OwnMove("/home/u").putBack("gone").code, ENOENT); });
}

TEST(PutBackByThePerson, MovesNothingWhoseVolumesAreNotKnown) {
  playWithTrashedFile([](World& world) {
    OwnMove move("/home/u");
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0) << errno;
    const linux_::TrashProblem problem = move.putBack();
    EXPECT_EQ(::umount("/proc"), 0) << errno;  // the leak checker needs it
    EXPECT_EQ(problem.code, ENOTSUP);
    EXPECT_EQ(problem.because, "it is not known whether a volume is mounted in it");
    EXPECT_EQ(world.contentsOf(kTrash + "/files/a"), "a");
  });
}

TEST(PutBackByThePerson, CopiesNoVolumeThatIsMountedOverTheItemOfATrashThatWasMoved) {
  playWithTrashedFile([](World& world) {
    world.makeVolume(kStick);
    world.removeFile(kTrash + "/files/a");
    world.makeFolder(kTrash + "/files/a");
    OwnMove move(kStick);
    world.rename(kTrash, kTrash + ".moved");
    world.makeVolume(kTrash + ".moved/files/a");
    EXPECT_EQ(move.putBack().code, EBUSY);
    EXPECT_EQ(world.namesIn(kStick), Names{});
  });
}

TEST(PutBackByThePerson, CopiesNothingWithoutDescriptors) {
  playWithTrashedFile([](World& world) {
    world.makeVolume(kStick);
    OwnMove move(kStick);
    failSystemCallOn(move.trashFiles(), SYS_fcntl, EMFILE);
    EXPECT_EQ(move.putBack().code, EMFILE);
    EXPECT_EQ(world.namesIn(kStick), Names{});
  });
}

TEST(PutBackByThePerson, UnlocksNoFolderForAPlaceThatMayNotBeWrittenTo) {
  playWithTrashedFile([](World& world) {
    world.removeFile(kTrash + "/files/a");
    world.makeFolder(kTrash + "/files/a");
    world.setMode(kTrash + "/files/a", 0555);
    world.makeRootsFolder(kClosed);
    OwnMove move(kClosed);
    std::atomic<bool> isUnlocked{false};
    afterSystemCall(SYS_chmod, [&] { isUnlocked = true; });
    EXPECT_EQ(move.putBack().code, EACCES);
    EXPECT_FALSE(isUnlocked);
  });
}

// Root's attempt begins with a work folder, so a failure to make one tells of it.
TEST(PutBackByThePerson, IsFollowedByRootsAttemptOnlyWhereRightsOrVolumesPreventIt) {
  for (const auto& [error, asRoot] : {std::pair(EACCES, true), std::pair(EPERM, true), std::pair(EXDEV, true),
                                      std::pair(EIO, false), std::pair(ENOENT, false)}) {
    playWithTrashedFile([&, error = error, asRoot = asRoot](World& world) {
      world.makeRootsFolder(kClosed);
      OwnMove move(kClosed, true);
      failSystemCall(SYS_renameat2, error);
      failSystemCall(SYS_mkdirat, EMFILE);
      EXPECT_EQ(move.putBack().code, asRoot ? EMFILE : error);
    });
  }
}

TEST(PutBackByThePerson, NeedsNoAttemptOfRootsWhereItSucceeds) {
  playWithTrashedFile([](World& world) {
    const ino_t inode = world.inodeOf(kTrash + "/files/a");
    failSystemCall(SYS_mkdirat, EMFILE);
    EXPECT_EQ(OwnMove("/home/u", true).putBack().code, 0);
    EXPECT_EQ(world.inodeOf("/home/u/a"), inode);
  });
}

TEST(PutBackByThePerson, LeavesAnItemWhosePlaceIsTakenAsItIs) {
  playWithTrashedFile([](World& world) {
    world.mountVolume(kClosed, "mode=0755");
    world.makeFile(kClosed + "/a", "another");
    failSystemCall(SYS_mkdirat, EMFILE);  // would be told of if a copy were made
    EXPECT_EQ(OwnMove(kClosed, true).putBack().code, EEXIST);
  });
}

}  // namespace
}  // namespace qm::testing
