// SPDX-License-Identifier: MIT

// The steps in which root puts an item back: what fails in each of them, and what others change in between.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <utility>

#include "Platform/linux/trash/RootPutBack.h"
#include "Uninstaller/Product.h"
#include "tests/contract/trash/RealTrashWorld.h"
#include "tests/contract/trash/TrashEntries.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

const std::string kFolder = "/Applications";
const std::string kPlace = kFolder + "/Tessaly.app";
const std::string kStored = kTrash + "/files/Tessaly.app";
const std::string kStoredInfo = kTrash + "/info/Tessaly.app.trashinfo";
const std::string kItemText = "[Trash Info]\nPath=" + kPlace + "\nDeletionDate=2024-02-29T23:05:07\n";
const std::string kGone = "/home/u/gone";
const Names kOnlyItsFolders = {"files", "info"};

enum class Item : bool { File, Folder };
enum class Volumes : bool { One, Two };

constexpr Volumes kBoth[] = {Volumes::One, Volumes::Two};

// An item in the Trash of the user u, which is to go into a folder of root's.
void playWithItem(Volumes volumes, Item item, const std::function<void(World&)>& body) {
  World::play([&](World& world) {
    for (const char* folder : {"/home/u/.local", "/home/u/.local/share", World::kHomeTrash}) world.makeFolder(folder);
    for (const char* folder : {"/files", "/info"}) world.makeFolder(kTrash + folder);
    if (volumes == Volumes::Two) world.mountVolume(kFolder, "mode=0755");
    if (volumes == Volumes::One) world.makeRootsFolder(kFolder);
    if (item == Item::Folder) world.makeFolder(kStored);
    world.makeFile(item == Item::Folder ? kStored + "/file" : kStored, "contents");
    world.makeFile(kStoredInfo, kItemText);
    world.actAsRoot("u");
    body(world);
  });
}

/// The Trash and the place, held open as by a call of the Trash.
class Work {
 public:
  Work()
      : user_{{World::kUser, World::kUser, {World::kUser}},
              World::kHome,
              std::nullopt,
              true,
              std::string(kProduct.workFolderPrefix)},
        trash_(linux_::openTrashDirectory(AT_FDCWD, kTrash, user_, "", linux_::MissingTrash::StaysMissing)),
        place_{posix::UniqueFd(::open(kFolder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), "Tessaly.app", true} {}

  /// The error number, 0 after a success.
  int putBack() {
    if (!trash_) return trash_.problem().code;
    const auto problem = linux_::RootPutBack(**trash_, stored_, place_, user_, volumes_).run();
    return problem ? problem->code : 0;
  }

  int trashFiles() const { return (*trash_)->files.get(); }
  int placeFolder() const { return place_.folder.get(); }

 private:
  linux_::TrashUser user_;
  linux_::OpenedTrash trash_;
  linux_::StoredItem stored_{"Tessaly.app", kPlace, "2024-02-29T23:05:07", kItemText};
  linux_::PutBackPlace place_;
  linux_::MountedVolumes volumes_;
};

std::string contentsIn(World& world, const std::string& item) {
  return world.contentsOf(world.kindOf(item) == ItemKind::Folder ? item + "/file" : item);
}

void expectInTrash(World& world) {
  EXPECT_EQ(contentsIn(world, kStored), "contents");
  EXPECT_EQ(world.contentsOf(kStoredInfo), kItemText);
  EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
}

void expectAtItsPlace(World& world) {
  EXPECT_EQ(contentsIn(world, kPlace), "contents");
  EXPECT_EQ(world.namesIn(kFolder), Names{"Tessaly.app"});
  EXPECT_EQ(world.kindOf(kStored), ItemKind::Nothing);
}

// The work folder in another one; "" if there is none.
std::string workFolderIn(World& world, const std::string& folder) {
  for (const std::string& name : world.namesIn(folder)) {
    if (name.starts_with(kProduct.workFolderPrefix)) return folder + "/" + name;
  }
  return {};
}

void rename(const std::string& from, const std::string& to) {
  EXPECT_EQ(::rename(from.c_str(), to.c_str()), 0) << from;
}

void makeUnwritable(const std::string& volume) {
  EXPECT_EQ(::mount(nullptr, volume.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
}

void makeWritable(const std::string& volume) {
  EXPECT_EQ(::mount(nullptr, volume.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr), 0);
}

// From then on an attempt to publish the copy fails with EEXIST.
void takePlaceWhileTheCopyGrows(const std::function<void()>& andThen = [] {}) {
  afterSystemCall(SYS_utimensat, [andThen] {
    World::makePlainFile(kPlace, "another");
    andThen();
  });
}

// The copy is flushed before it is published, and its folder right afterwards.
void onceTheCopyIsPublished(const std::function<void()>& action) {
  watchSystemCalls({SYS_syncfs}, [action, flushes = 0](const SystemCall&) mutable {
    if (++flushes == 2) action();
    return 0;
  });
}

// The next look at the Trash finishes or undoes what was left.
void look(World& world) { static_cast<void>(world.itemsFrom(kPlace)); }

TEST(PutBackByRootInSteps, MovesOrCopiesTheItem) {
  for (const Volumes volumes : kBoth) {
    for (const Item item : {Item::File, Item::Folder}) {
      playWithItem(volumes, item, [](World& world) {
        EXPECT_EQ(Work().putBack(), 0);
        expectAtItsPlace(world);
        expectNothingIn(world, kTrash);
        EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
      });
    }
  }
}

TEST(PutBackByRootInSteps, MovesTheItemItselfOnOneVolume) {
  playWithItem(Volumes::One, Item::File, [](World& world) {
    const ino_t inode = world.inodeOf(kStored);
    EXPECT_EQ(Work().putBack(), 0);
    EXPECT_EQ(world.inodeOf(kPlace), inode);
  });
}

TEST(PutBackByRootInSteps, FindsNothingWhereTheItemIsGone) {
  for (const Volumes volumes : kBoth) {
    playWithItem(volumes, Item::File, [](World& world) {
      rename(kStored, kGone);
      EXPECT_EQ(Work().putBack(), ENOENT);
      EXPECT_EQ(world.namesIn(kFolder), Names{});
      EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
    });
  }
}

TEST(PutBackByRootInSteps, ReplacesNothingThatAppearsAtItsPlaceMeanwhile) {
  for (const Volumes volumes : kBoth) {
    for (const Item item : {Item::File, Item::Folder}) {
      playWithItem(volumes, item, [&](World& world) {
        Work work;
        const long call = volumes == Volumes::One ? SYS_fsync : SYS_syncfs;
        afterSystemCall(call, [] { World::makePlainFile(kPlace, "another"); });
        EXPECT_EQ(work.putBack(), EEXIST);
        EXPECT_EQ(world.contentsOf(kPlace), "another");
        EXPECT_EQ(world.namesIn(kFolder), Names{"Tessaly.app"});
        expectInTrash(world);
      });
    }
  }
}

TEST(PutBackByRootInSteps, LeavesNothingWhereTheItemGoesMeanwhile) {
  // Once the work folder is made, once the record is on the disk, and once the copy is.
  for (const auto& [volumes, call] : {std::pair(Volumes::One, SYS_mkdirat), std::pair(Volumes::One, SYS_fsync),
                                      std::pair(Volumes::Two, SYS_mkdirat), std::pair(Volumes::Two, SYS_syncfs)}) {
    playWithItem(volumes, Item::Folder, [call = call](World& world) {
      Work work;
      afterSystemCall(call, [] { rename(kStored, kGone); });
      EXPECT_EQ(work.putBack(), ENOENT) << call;
      EXPECT_EQ(world.namesIn(kFolder), Names{});
      EXPECT_EQ(world.contentsOf(kGone + "/file"), "contents");
      EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
      EXPECT_EQ(world.contentsOf(kStoredInfo), kItemText);
    });
  }
}

TEST(PutBackByRootInSteps, MovesNothingWhoseLentRightsCannotBeSeen) {
  for (const Volumes volumes : kBoth) {
    playWithItem(volumes, Item::Folder, [](World& world) {
      failSystemCall(SYS_getxattr, EIO);
      EXPECT_EQ(Work().putBack(), EIO);
      EXPECT_EQ(world.namesIn(kFolder), Names{});
      expectInTrash(world);
    });
  }
}

TEST(PutBackByRootInSteps, CopiesOnlyWithARecordOnTheDisk) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    failSystemCall(SYS_fsync, EIO);
    failSystemCall(SYS_syncfs, ENOSPC);  // would be told of if there were a copy
    EXPECT_EQ(Work().putBack(), EIO);
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, PublishesOnlyACopyThatIsOnTheDisk) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    Work work;
    failSystemCall(SYS_syncfs, EIO);
    takePlaceWhileTheCopyGrows();
    EXPECT_EQ(work.putBack(), EIO);
    EXPECT_EQ(world.namesIn(kFolder), Names{"Tessaly.app"});
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, PublishesNoCopyThatIsGone) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    Work work;
    afterSystemCall(SYS_syncfs, [&] { world.removeTree(workFolderIn(world, kFolder) + "/growing"); });
    EXPECT_EQ(work.putBack(), ENOENT);
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, PublishesNoCopyThatCannotBeChecked) {
  playWithItem(Volumes::Two, Item::File, [](World& world) {
    Work work;
    afterSystemCall(SYS_syncfs, [] {
      const rlimit none{0, 0};
      EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    });
    EXPECT_EQ(work.putBack(), EMFILE);
    EXPECT_EQ(world.kindOf(kPlace), ItemKind::Nothing);
    EXPECT_EQ(world.kindOf(kStored), ItemKind::File);
  });
}

TEST(PutBackByRootInSteps, PublishesNoCopyOfAnythingElse) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    Work work;
    takePlaceWhileTheCopyGrows([] { rename(kStored, kGone); });
    EXPECT_EQ(work.putBack(), ESTALE);
    EXPECT_EQ(world.namesIn(kFolder), Names{"Tessaly.app"});
    EXPECT_EQ(world.contentsOf(kGone + "/file"), "contents");
  });
}

TEST(PutBackByRootInSteps, CopiesNothingWhoseVolumesAreNotKnown) {
  playWithItem(Volumes::Two, Item::File, [](World& world) {
    Work work;
    ASSERT_EQ(::mount("", "/proc", "tmpfs", 0, nullptr), 0) << errno;
    EXPECT_EQ(work.putBack(), ENOTSUP);
    EXPECT_EQ(::umount("/proc"), 0) << errno;  // the leak checker needs it
    EXPECT_EQ(world.namesIn(kFolder), Names{});
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, CopiesNothingThatIsMountedMeanwhile) {
  // Once the work folder is made, once the record is on the disk, and while the copy grows.
  for (const long call : {SYS_mkdirat, SYS_fsync, SYS_utimensat}) {
    playWithItem(Volumes::Two, Item::Folder, [&](World& world) {
      world.makeFolder(kStored + "/inner");
      Work work;
      afterSystemCall(call, [] { mountTmpfs(kStored + "/inner"); });
      EXPECT_EQ(work.putBack(), EBUSY) << call;
      EXPECT_EQ(world.namesIn(kFolder), Names{});
      expectInTrash(world);
    });
  }
}

TEST(PutBackByRootInSteps, CopiesNothingWithoutDescriptors) {
  playWithItem(Volumes::Two, Item::File, [](World& world) {
    Work work;
    failSystemCallOn(work.trashFiles(), SYS_fcntl, EMFILE);
    EXPECT_EQ(work.putBack(), EMFILE);
    EXPECT_EQ(world.namesIn(kFolder), Names{});
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, CopiesNothingToAFolderWhoseVolumeIsNotKnown) {
  playWithItem(Volumes::Two, Item::File, [](World& world) {
    Work work;
    for (const long call : {SYS_newfstatat, SYS_fstat}) failSystemCallOn(work.placeFolder(), call, ENOMEM);
    EXPECT_EQ(work.putBack(), ENOMEM);
    EXPECT_EQ(world.namesIn(kFolder), Names{});
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, CopiesNothingToAVolumeThatCannotBeChanged) {
  playWithItem(Volumes::Two, Item::File, [](World& world) {
    makeUnwritable(kFolder);
    EXPECT_EQ(Work().putBack(), EROFS);
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, KeepsItsRecordWhileItsCopyCannotBeRemoved) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    Work work;
    afterSystemCall(SYS_syncfs, [] { makeUnwritable(kFolder); });
    EXPECT_EQ(work.putBack(), EROFS);
    EXPECT_NE(workFolderIn(world, kTrash), "");
    EXPECT_NE(workFolderIn(world, kFolder), "");
    makeWritable(kFolder);
    look(world);
    EXPECT_EQ(world.namesIn(kFolder), Names{});
    expectInTrash(world);
  });
}

// Somebody takes the published copy away, or puts something else in its place, before the item has left the Trash.
TEST(PutBackByRootInSteps, UndoesNothingButItsOwnCopy) {
  for (const bool isReplaced : {false, true}) {
    playWithItem(Volumes::Two, Item::Folder, [&](World& world) {
      Work work;
      onceTheCopyIsPublished([&] {
        rename(kStored, kGone);
        rename(kPlace, kFolder + "/taken");
        if (isReplaced) World::makePlainFile(kPlace, "another");
      });
      EXPECT_EQ(work.putBack(), ENOENT);
      EXPECT_EQ(world.contentsOf(kPlace), isReplaced ? "another" : "");
      EXPECT_EQ(world.namesIn(kFolder), isReplaced ? (Names{"Tessaly.app", "taken"}) : Names{"taken"});
      EXPECT_EQ(world.contentsOf(kGone + "/file"), "contents");
      EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
    });
  }
}

TEST(PutBackByRootInSteps, ChangesNothingOfAnItemWhosePlaceIsTaken) {
  for (const Volumes volumes : kBoth) {
    playWithItem(volumes, Item::File, [](World& world) {
      world.setMode(kStored, 04755);
      World::makePlainFile(kPlace, "another");
      EXPECT_EQ(Work().putBack(), EEXIST);
      EXPECT_EQ(world.modeOf(kStored), 04755U);
      EXPECT_EQ(world.contentsOf(kPlace), "another");
      expectInTrash(world);
    });
  }
}

TEST(PutBackByRootInSteps, KeepsAnItemThatCannotReturnToTheTrash) {
  playWithItem(Volumes::One, Item::Folder, [](World& world) {
    world.removeFile(kStoredInfo);
    world.setMode(kTrash + "/info", 0500);
    Work work;
    afterSystemCall(SYS_fsync, [] { World::makePlainFile(kPlace, "another"); });
    EXPECT_EQ(work.putBack(), EEXIST);
    EXPECT_EQ(world.contentsOf(workFolderIn(world, kTrash) + "/item/file"), "contents");
    world.setMode(kTrash + "/info", 0700);
    look(world);
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, KeepsItsRecordWhileTheDescriptionCannotBeRemoved) {
  for (const Volumes volumes : kBoth) {
    playWithItem(volumes, Item::File, [](World& world) {
      world.setMode(kTrash + "/info", 0500);
      EXPECT_EQ(Work().putBack(), 0);
      expectAtItsPlace(world);
      EXPECT_EQ(world.contentsOf(kStoredInfo), kItemText);
      EXPECT_NE(workFolderIn(world, kTrash), "");
      world.setMode(kTrash + "/info", 0700);
      look(world);
      expectNothingIn(world, kTrash);
      EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
    });
  }
}

TEST(PutBackByRootInSteps, KeepsTheDescriptionOfAnItemThatMayReturn) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    Work work;
    // Nothing else can get the name under which the item would be removed.
    onceTheCopyIsPublished([&] { World::makePlainFile(workFolderIn(world, kTrash) + "/expendable", ""); });
    EXPECT_EQ(work.putBack(), 0);
    expectAtItsPlace(world);
    EXPECT_EQ(world.contentsOf(workFolderIn(world, kTrash) + "/item/file"), "contents");
    EXPECT_EQ(world.contentsOf(kStoredInfo), kItemText);
    look(world);
    expectInTrash(world);
  });
}

TEST(PutBackByRootInSteps, KeepsItsRecordWhileTheItemCannotBeRemoved) {
  playWithItem(Volumes::Two, Item::Folder, [](World& world) {
    world.makeFolder(kStored + "/inner");
    Work work;
    onceTheCopyIsPublished([] { mountTmpfs(kStored + "/inner"); });
    EXPECT_EQ(work.putBack(), 0);
    const std::string left = workFolderIn(world, kTrash);
    EXPECT_EQ(world.kindOf(left + "/expendable"), ItemKind::Folder);
    EXPECT_EQ(world.kindOf(left + "/record"), ItemKind::File);
    ASSERT_EQ(::umount((left + "/expendable/inner").c_str()), 0) << errno;
    look(world);
    EXPECT_EQ(world.namesIn(kTrash), kOnlyItsFolders);
    expectNothingIn(world, kTrash);
  });
}

}  // namespace
}  // namespace qm::testing
