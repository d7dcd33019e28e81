// SPDX-License-Identifier: MIT

// Every state in which an interrupted move can be found, and what mending makes of it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "Platform/linux/trash/TrashMending.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/privileges/MoveMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;
using linux_::TrashRecord;
using posix::UniqueFd;

const std::string kDescription = "[Trash Info]\nPath=/volume/Tessaly.app\nDeletionDate=2024-02-29T23:05:07\n";
const std::string kBeside = ".tessaly-uninstaller-2";

/// Where the item, its copy and another item are.
struct MoveState {
  std::string name;
  enum class Item { InPlace, Aside, Gone } item = Item::InPlace;
  bool isPublished = false;
  bool isTaken = false;
  // What mending leaves.
  bool isItemInPlace = false;
  bool isCopyInTrash = false;
  bool isDescribed = false;
  bool isDone = true;
};

class MendedMove : public MoveMachine {
 protected:
  static std::string origin() { return volume() + "/Tessaly.app"; }
  static std::string work() { return trash() + "/.tessaly-uninstaller-1"; }
  static std::string aside() { return volume() + "/" + kBeside; }
  static std::string info() { return trash() + "/info/Tessaly.app.trashinfo"; }

  static linux_::ItemNumber numberOf(const std::string& path) {
    const auto number = linux_::itemNumber(AT_FDCWD, path);
    EXPECT_TRUE(number) << path;
    return number.value_or(linux_::ItemNumber{});
  }

  static UniqueFd open(const std::string& path) {
    UniqueFd opened(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    EXPECT_TRUE(opened) << path;
    return opened;
  }

  static void makeItem(const std::string& path, const std::string& what) {
    makeFolder(path);
    makeFile(path + "/" + what, what);
  }

  static void rename(const std::string& from, const std::string& to) {
    EXPECT_EQ(::rename(from.c_str(), to.c_str()), 0) << from;
  }

  static void write(const TrashRecord& record) { EXPECT_EQ(record.writeTo(open(work()).get()), 0); }

  static TrashRecord recordOf(const linux_::ItemNumber& item) {
    TrashRecord record;
    record.origin = origin();
    record.item = item;
    record.stored = "Tessaly.app";
    record.info = kDescription;
    record.reached = linux_::Reached::Yes;
    return record;
  }

  /// A move of a copy as it was left.
  static TrashRecord leave(const MoveState& state) {
    mountTmpfs(volume(), "mode=0755");
    for (const std::string& folder : {work(), aside()}) makeFolder(folder, 0, 0700);
    makeItem(origin(), "original");
    makeItem(files() + "/Tessaly.app", "copied");
    makeFile(info(), kDescription, kPerson);
    TrashRecord record = recordOf(numberOf(origin()));
    record.copy = numberOf(files() + "/Tessaly.app");
    record.isTaken = state.isTaken;
    record.aside = kBeside;
    record.volume = numberOf(volume()).device;
    if (state.item == MoveState::Item::Aside) rename(origin(), aside() + "/item");
    if (state.item == MoveState::Item::Gone) std::filesystem::remove_all(origin());
    if (!state.isPublished) rename(files() + "/Tessaly.app", work() + "/copy");
    write(record);
    return record;
  }
};

TEST_F(MendedMove, OfACopyIsFinishedOrUndone) {
  using Item = MoveState::Item;
  const std::vector<MoveState> states = {
      {"published too early", Item::InPlace, true, false, true, false, false, true},
      {"not published", Item::InPlace, false, false, true, false, false, true},
      {"not recorded as taken", Item::Aside, true, false, false, true, true, true},
      {"taken", Item::Aside, true, true, false, true, true, true},
      {"taken, and its copy was removed from the Trash", Item::Aside, false, true, false, false, true, true},
      {"taken without a copy in the Trash", Item::Aside, false, false, true, false, true, false},
      {"gone with a copy in the Trash", Item::Gone, true, false, false, true, true, true},
      {"gone, taken, and its copy was removed", Item::Gone, false, true, false, false, true, true},
      {"gone without a copy in the Trash", Item::Gone, false, false, false, false, true, false},
  };
  for (const MoveState& state : states) {
    SCOPED_TRACE(state.name);
    run([&] {
      leave(state);
      mend();
      EXPECT_EQ(exists(origin() + "/original"), state.isItemInPlace);
      EXPECT_EQ(exists(files() + "/Tessaly.app/copied"), state.isCopyInTrash);
      EXPECT_EQ(exists(info()), state.isDescribed);
      EXPECT_FALSE(exists(aside()));
      EXPECT_EQ(exists(work()), !state.isDone);
      EXPECT_EQ(exists(work() + "/copy/copied"), !state.isDone) << "the only one that is left";
    });
  }
}

TEST_F(MendedMove, OfAnItemThatReturnedIsUndoneByTheRunAfterThat) {
  run([] {
    leave({"", MoveState::Item::Aside});
    mend();
    EXPECT_TRUE(exists(work()));
    mend();
    EXPECT_TRUE(exists(origin() + "/original"));
    expectEmptyTrash();
  });
}

TEST_F(MendedMove, KeepsItsRecordWhileTheCopyCannotLeaveTheTrash) {
  run([] {
    leave({"", MoveState::Item::InPlace, true});
    inChild([] {
      failRenames({{"Tessaly.app", "copy", EIO}});
      mend();
    });
    EXPECT_TRUE(exists(work()));
    EXPECT_TRUE(exists(aside())) << "nothing else is done before that";
    EXPECT_TRUE(exists(files() + "/Tessaly.app/copied"));
    EXPECT_TRUE(exists(info()));
    mend();
    expectEmptyTrash();
  });
}

TEST_F(MendedMove, ReturnsWhatWasTakenByMistakeOnceItsPlaceIsFree) {
  run([] {
    leave({"", MoveState::Item::Gone, true});
    makeItem(aside() + "/item", "other");
    makeItem(origin(), "newcomer");
    mend();
    EXPECT_TRUE(exists(aside() + "/item/other"));
    EXPECT_TRUE(exists(origin() + "/newcomer"));
    EXPECT_TRUE(exists(work()));
    std::filesystem::remove_all(origin());
    mend();
    EXPECT_TRUE(exists(origin() + "/other"));
    EXPECT_FALSE(exists(aside()));
    EXPECT_FALSE(exists(work()));
    EXPECT_TRUE(exists(files() + "/Tessaly.app/copied"));
  });
}

TEST_F(MendedMove, KeepsItsRecordWhileAnotherProcessUsesTheFolderBesideTheItem) {
  run([] {
    leave({"", MoveState::Item::Aside, true, true});
    const UniqueFd held = open(aside());
    ASSERT_EQ(::flock(held.get(), LOCK_EX | LOCK_NB), 0);
    mend();
    EXPECT_TRUE(exists(aside() + "/item/original"));
    EXPECT_TRUE(exists(work()));
  });
}

// Whether the folder beside the item exists is known only if its volume is mounted.
TEST_F(MendedMove, IsDoneWithoutTheFolderBesideTheItemOnlyOnTheSameVolume) {
  for (const bool isSameVolume : {true, false}) {
    for (const char* gone : {"the folder beside the item", "the folder of the item"}) {
      run([&] {
        TrashRecord record = leave({"", MoveState::Item::Gone, true, true});
        std::filesystem::remove_all(aside());
        if (!isSameVolume) ++record.volume;
        if (gone == std::string("the folder of the item")) record.origin = volume() + "/folder/inner/Tessaly.app";
        write(record);
        mend();
        EXPECT_EQ(exists(work()), !isSameVolume) << gone;
        EXPECT_TRUE(exists(files() + "/Tessaly.app/copied"));
      });
    }
  }
}

TEST_F(MendedMove, IsNotDoneWhileTheItemsPlaceCannotBeReached) {
  for (const bool isTaken : {true, false}) {
    run([&] {
      TrashRecord record = leave({"", MoveState::Item::Gone, true, isTaken});
      std::filesystem::remove_all(aside());
      record.origin = isTaken ? volume() + "/loop/Tessaly.app" : volume() + "/missing/Tessaly.app";
      makeLink(volume() + "/loop", "loop");
      write(record);
      mend();
      EXPECT_TRUE(exists(work()));
    });
  }
}

// MARK: - Items that were moved themselves

TEST_F(MendedMove, HandsOverTheItemThatItsRecordNamesAndNoOther) {
  for (const bool isSame : {true, false}) {
    run([&] {
      makeItem(files() + "/Tessaly.app", "item");
      makeFile(info(), kDescription, kPerson);
      makeFolder(work(), 0, 0700);
      TrashRecord record = recordOf(numberOf(files() + "/Tessaly.app"));
      if (!isSame) ++record.item.inode;
      write(record);
      mend();
      EXPECT_EQ(ownerOf(files() + "/Tessaly.app"), isSame ? kPerson : 0U);
      EXPECT_EQ(exists(info()), isSame);
      EXPECT_FALSE(exists(work()));
    });
  }
}

TEST_F(MendedMove, HandsOverALinkItselfAndNotWhatItLeadsTo) {
  run([] {
    makeFile(machineFolder() + "/tool", "tool", 0, 04755);
    makeLink(files() + "/Tessaly.app", machineFolder() + "/tool");
    makeFile(info(), kDescription, kPerson);
    makeFolder(work(), 0, 0700);
    write(recordOf(numberOf(files() + "/Tessaly.app")));
    mend();
    EXPECT_EQ(modeOf(machineFolder() + "/tool"), 04755U);
    EXPECT_TRUE(exists(info())) << "the link is the item";
    EXPECT_FALSE(exists(work()));
  });
}

// MARK: - Work folders

TEST_F(MendedMove, RemovesAFolderWithoutARecordIfNothingElseIsInIt) {
  run([] {
    for (const char* name : {"3", "4", "5"}) makeFolder(trash() + "/.tessaly-uninstaller-" + name, 0, 0700);
    makeFile(trash() + "/.tessaly-uninstaller-4/record-new", "part");
    makeFile(trash() + "/.tessaly-uninstaller-5/record-new", "part");
    makeFile(trash() + "/.tessaly-uninstaller-5/precious", "precious");
    mend();
    EXPECT_EQ(leftInTrash(), Names{".tessaly-uninstaller-5"});
    EXPECT_EQ(namesIn(trash() + "/.tessaly-uninstaller-5"), Names{"precious"});
  });
}

TEST_F(MendedMove, IsNotMadeByTheMendingOfWhatIsPutBack) {
  run([] {
    const linux_::SharedTrashDirectory opened = openedTrash();
    TrashRecord record = leave({"", MoveState::Item::Aside, true, true});
    linux_::mendPutBacks(*opened, trashUser().identity);
    EXPECT_TRUE(exists(aside() + "/item")) << "it lies outside the Trash";
    record.copy = {};
    write(record);
    linux_::mendPutBacks(*opened, trashUser().identity);
    EXPECT_TRUE(exists(aside()));
    record.aside = "";
    write(record);
    linux_::mendPutBacks(*opened, trashUser().identity);
    EXPECT_FALSE(exists(work()));
    EXPECT_TRUE(exists(aside()));
  });
}

// MARK: - Items on their way out of the Trash

TEST_F(MendedMove, OutOfTheTrashRemovesItsCopyAndWhatIsExpendable) {
  for (const bool isInTrash : {true, false}) {
    run([&] {
      leave({"", MoveState::Item::InPlace, isInTrash});
      makeItem(work() + "/expendable", "expendable");
      makeItem(aside() + "/growing", "growing");
      TrashRecord record = linux_::leavingRecord(origin(), numberOf(origin()), "Tessaly.app", kDescription);
      record.aside = kBeside;
      record.volume = numberOf(volume()).device;
      write(record);
      mend();
      EXPECT_TRUE(exists(origin() + "/original"));
      EXPECT_FALSE(exists(aside()));
      EXPECT_FALSE(exists(work()));
      EXPECT_EQ(exists(info()), isInTrash);
    });
  }
}

TEST_F(MendedMove, OutOfTheTrashKeepsItsRecordUntilEachStepSucceeds) {
  struct Step {
    long call = 0;
    std::string text;
  };
  for (const Step& step : {Step{SYS_renameat2, "item"}, {SYS_unlinkat, kBeside}, {SYS_unlinkat, "expendable"}}) {
    run([&] {
      leave({"", MoveState::Item::InPlace, false});
      std::filesystem::remove_all(work() + "/copy");
      for (const char* name : {"/item", "/expendable"}) makeItem(work() + name, "stored");
      TrashRecord record = linux_::leavingRecord(origin(), numberOf(work() + "/item"), "Tessaly.app", kDescription);
      record.aside = kBeside;
      record.volume = numberOf(volume()).device;
      write(record);
      inChild([&] {
        watchSystemCalls({step.call}, [&](const SystemCall& call) { return call.text(1) == step.text ? EIO : 0; });
        mend();
      });
      EXPECT_TRUE(exists(work())) << step.text;
      mend();
      EXPECT_FALSE(exists(work()));
      EXPECT_FALSE(exists(aside()));
      EXPECT_TRUE(exists(files() + "/Tessaly.app/stored"));
      EXPECT_TRUE(exists(info()));
    });
  }
}

// MARK: - Descriptions

class ForgottenDescription : public MendedMove {
 protected:
  static bool isForgotten(const std::string& contents) {
    makeFile(info(), contents, kPerson);
    forget("Tessaly.app");
    return !exists(info());
  }
  static void forget(const std::string& stored) {
    TrashRecord record = recordOf({1, 2});
    record.stored = stored;
    linux_::removeTrashInfo(*openedTrash(), trashUser().identity, record);
  }
};

TEST_F(ForgottenDescription, IsTheMovesOwnOrTheBeginningOfIt) {
  run([] {
    for (const std::size_t length : {kDescription.size(), kDescription.size() - 1, std::size_t{1}, std::size_t{0}}) {
      EXPECT_TRUE(isForgotten(kDescription.substr(0, length))) << length;
    }
    for (const std::string& other : {kDescription + "\n", kDescription.substr(1), std::string("x")}) {
      EXPECT_FALSE(isForgotten(other)) << other;
    }
    ASSERT_EQ(::unlink(info().c_str()), 0);
    forget("Tessaly.app");
  });
}

TEST_F(ForgottenDescription, IsNoLinkAndNoPipe) {
  run([] {
    makeFile(home() + "/other", kDescription, kPerson);
    makeLink(info(), home() + "/other", kPerson);
    forget("Tessaly.app");
    EXPECT_TRUE(isLink(info()));
    ASSERT_EQ(::unlink(info().c_str()), 0);
    inChild([] {
      ::alarm(20);  // opening a pipe can wait for ever
      ASSERT_EQ(::mkfifo(info().c_str(), 0666), 0);
      ASSERT_EQ(::chown(info().c_str(), kPerson, kPerson), 0);
      forget("Tessaly.app");
    });
  });
}

TEST_F(ForgottenDescription, IsNoneBeforeTheItemHasAName) {
  run([] {
    makeFile(trash() + "/info/.trashinfo", kDescription, kPerson);
    forget("");
    EXPECT_TRUE(exists(trash() + "/info/.trashinfo"));
  });
}

TEST_F(ForgottenDescription, IsRemovedWithTheUsersRights) {
  run([] {
    makeFile(info(), kDescription, kPerson);
    inChild([] {
      const linux_::SharedTrashDirectory opened = openedTrash();
      failSystemCall(SYS_setgroups, EAGAIN);
      linux_::removeTrashInfo(*opened, trashUser().identity, recordOf({1, 2}));
    });
    EXPECT_TRUE(exists(info()));
    ASSERT_EQ(::chown((trash() + "/info").c_str(), 0, 0), 0);
    ASSERT_EQ(::chmod((trash() + "/info").c_str(), 0755), 0);
    const UniqueFd files = open(MendedMove::files());
    linux_::TrashDirectory closed;
    closed.files = posix::duplicate(files);
    closed.info = open(trash() + "/info");
    linux_::removeTrashInfo(closed, trashUser().identity, recordOf({1, 2}));
    EXPECT_TRUE(exists(info()));
  });
}

// MARK: - Single steps

TEST_F(MendedMove, TakesOnlyTheCopyOutOfTheTrash) {
  run([] {
    TrashRecord record = leave({"", MoveState::Item::InPlace, true});
    const linux_::SharedTrashDirectory opened = openedTrash();
    const UniqueFd folder = open(work());
    ++record.copy.inode;
    EXPECT_EQ(linux_::unpublish(*opened, trashUser().identity, record, folder.get()), 0);
    EXPECT_TRUE(exists(files() + "/Tessaly.app/copied"));
    EXPECT_TRUE(exists(info()));
    inChild([&] {
      failRenames({{"copy", "Tessaly.app", EIO}});
      EXPECT_EQ(linux_::unpublish(*opened, trashUser().identity, record, folder.get()), EIO);
    });
    rename(work() + "/copy", files() + "/Tessaly.app");
    --record.copy.inode;
    EXPECT_EQ(linux_::unpublish(*opened, trashUser().identity, record, folder.get()), 0);
    EXPECT_TRUE(exists(work() + "/copy/copied"));
    EXPECT_FALSE(exists(info()));
    EXPECT_EQ(linux_::unpublish(*opened, trashUser().identity, record, folder.get()), ENOENT);
  });
}

TEST_F(MendedMove, RemovesWhatIsExpendableButNotWhatALinkLeadsTo) {
  run([] {
    makeFolder(work(), 0, 0700);
    const UniqueFd folder = open(work());
    EXPECT_EQ(linux_::removeExpendable(folder.get()), 0) << "there is none";
    EXPECT_EQ(linux_::removeExpendable(-1), EBADF);
    makeItem(machineFolder() + "/precious", "precious");
    makeLink(work() + "/expendable", machineFolder() + "/precious");
    EXPECT_EQ(linux_::removeExpendable(folder.get()), 0);
    EXPECT_FALSE(isLink(work() + "/expendable"));
    EXPECT_TRUE(exists(machineFolder() + "/precious/precious"));
  });
}

TEST_F(MendedMove, ReturnsAnItemUnderTheFirstFreeName) {
  run([] {
    const linux_::SharedTrashDirectory opened = openedTrash();
    makeFolder(work(), 0, 0700);
    const UniqueFd folder = open(work());
    const auto returned = [&] {
      if (!exists(work() + "/item")) makeItem(work() + "/item", "item");
      return linux_::returnToTrash(*opened, trashUser().identity, recordOf({1, 2}), folder.get());
    };
    EXPECT_EQ(returned(), 0);
    EXPECT_EQ(contentsOf(info()), kDescription);
    EXPECT_EQ(ownerOf(info()), kPerson);
    EXPECT_EQ(returned(), 0);
    EXPECT_EQ(infoOf("Tessaly 2.app"), kDescription);
    for (int number = 3; number <= 63; ++number) makeFolder(files() + "/Tessaly " + std::to_string(number) + ".app");
    EXPECT_EQ(returned(), 0);
    EXPECT_TRUE(exists(files() + "/Tessaly 64.app/item"));
    EXPECT_EQ(returned(), EEXIST);
    EXPECT_EQ(namesIn(trash() + "/info").size(), 3U);
  });
}

TEST_F(MendedMove, ReturnsAnItemToTheDescriptionThatItStillHas) {
  run([] {
    const linux_::SharedTrashDirectory opened = openedTrash();
    makeFolder(work(), 0, 0700);
    makeItem(work() + "/item", "item");
    makeFile(info(), "edited", kPerson);
    EXPECT_EQ(linux_::returnToTrash(*opened, trashUser().identity, recordOf({1, 2}), open(work()).get()), 0);
    EXPECT_EQ(contentsOf(info()), "edited");
    EXPECT_EQ(namesIn(files()), Names{"Tessaly.app"});
  });
}

TEST_F(MendedMove, DescribesNothingThatCannotReturn) {
  run([] {
    const linux_::SharedTrashDirectory opened = openedTrash();
    makeFolder(work(), 0, 0700);
    makeItem(work() + "/item", "item");
    const UniqueFd folder = open(work());
    const auto returned = [&] {
      return linux_::returnToTrash(*opened, trashUser().identity, recordOf({1, 2}), folder.get());
    };
    inChild([&] {
      std::string user;
      watchSystemCalls({SYS_renameat2, SYS_unlinkat}, [&](const SystemCall& call) {
        if (call.number == SYS_unlinkat) user = actingUser();
        return call.number == SYS_renameat2 ? EIO : 0;
      });
      EXPECT_EQ(returned(), EIO);
      EXPECT_EQ(user, std::to_string(kPerson)) << "what the description was removed with";
    });
    inChild([&] {
      failSystemCall(SYS_setgroups, EAGAIN);
      EXPECT_EQ(returned(), EPERM);
    });
    inChild([&] {
      failSystemCall(SYS_fsync, ENOSPC);
      EXPECT_EQ(returned(), ENOSPC);
    });
    EXPECT_EQ(namesIn(trash() + "/info"), Names{});
    EXPECT_TRUE(exists(work() + "/item/item"));
  });
}

}  // namespace
}  // namespace qm::testing
