// SPDX-License-Identifier: MIT

// Steps of a move that fail: what is undone, what is left for the next run, and what is said.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/privileges/MoveMachine.h"

namespace qm::testing {
namespace {

using Names = std::vector<std::string>;

const std::string kNotOnDisk = "not on the disk yet: Input/output error";
const std::string kUnfinished = "not completely handed over: ";

class FailedStep : public MoveMachine {
 protected:
  static void expectUndone(const std::string& bundle, const std::function<void()>& disturb, int error) {
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      ASSERT_EQ(move.obstacle().code, 0);
      disturb();
      const Result result = resultOf(move);
      EXPECT_EQ(result.error, error);
      EXPECT_EQ(result.note, "");
    });
    expectAsMade(bundle);
    expectEmptyTrash();
  }

  static void expectHandedOver() {
    EXPECT_EQ(namesIn(files()), Names{"Tessaly.app"});
    EXPECT_EQ(ownerOf(files() + "/Tessaly.app/Contents"), kPerson);
    EXPECT_EQ(contentsOf(files() + "/Tessaly.app/Contents/secret"), "secret");
    EXPECT_NE(infoOf("Tessaly.app"), "");
    expectNoLeftovers();
  }

  /// The one folder beside the item that a move has left.
  static std::string leftOnVolume() {
    Names names = namesIn(volume());
    std::erase_if(names, [](const std::string& name) { return !name.starts_with(".tessaly-"); });
    EXPECT_EQ(names.size(), 1U);
    return names.empty() ? volume() : volume() + "/" + names.front();
  }
};

TEST_F(FailedStep, IsUndoneOnOneVolume) {
  run([] {
    const std::string bundle = applications() + "/Tessaly.app";
    makeBundle(bundle);
    for (const auto& [call, nth] : {std::pair<long, int>{SYS_mkdirat, 1}, {SYS_renameat, 1}, {SYS_renameat2, 1}}) {
      expectUndone(
          bundle, [call = call, nth = nth] { failSystemCallOnce(call, nth, EIO); }, EIO);
    }
    // Of the record, of its folder, and of the description.
    for (const int nth : {1, 2, 3})
      expectUndone(
          bundle, [=] { failSystemCallOnce(SYS_fsync, nth, EIO); }, EIO);
  });
}

TEST_F(FailedStep, IsUndoneAcrossVolumes) {
  run([] {
    const std::string bundle = bundleOnVolume();
    // Two folders for the move, and between them two of the copy; the record as the move begins, with the copy's number
    // and with the copy's name; the copy itself, and its name.
    const std::vector<std::pair<long, int>> steps = {{SYS_mkdirat, 4},   {SYS_renameat, 3}, {SYS_syncfs, 2},
                                                     {SYS_renameat2, 2}, {SYS_fsync, 2},    {SYS_fchown, 1}};
    for (const auto& [call, times] : steps) {
      for (int nth = 1; nth <= times; ++nth) {
        SCOPED_TRACE(std::to_string(call) + " " + std::to_string(nth));
        expectUndone(
            bundle, [call = call, nth] { failSystemCallOnce(call, nth, EXDEV); }, EXDEV);
      }
    }
  });
}

TEST_F(FailedStep, IsUndoneWhereTheItemCannotLeaveItsPlace) {
  run([] {
    expectUndone(
        bundleOnVolume(),
        [] {
          failRenames({{"Tessaly.app", "item", EROFS}});
        },
        EROFS);
  });
}

TEST_F(FailedStep, IsUndoneWhereThereAreNoDescriptors) {
  run([] {
    const std::string bundle = bundleOnVolume();
    for (const int nth : {1, 2}) {
      expectUndone(
          bundle, [nth] { failSystemCallOnce(SYS_fcntl, nth, EMFILE); }, EMFILE);
    }
    const auto failOpeningCopy = [] {
      watchSystemCalls({SYS_openat}, [opened = 0](const SystemCall& call) mutable {
        return call.text(1) == "copy" && ++opened == 1 ? EMFILE : 0;
      });
    };
    expectUndone(bundle, failOpeningCopy, EMFILE);
  });
}

TEST_F(FailedStep, IsUndoneWhereTheVolumeOfTheItemCannotBeTold) {
  run([] {
    const std::string bundle = bundleOnVolume();
    const auto hideFolder = [] {
      watchSystemCalls({SYS_newfstatat}, [](const SystemCall& call) {
        return call.text(1).empty() && call.path() == volume() ? EACCES : 0;
      });
    };
    expectUndone(bundle, hideFolder, EACCES);
  });
}

TEST_F(FailedStep, IsUndoneWhereTheUsersRightsCannotBeTaken) {
  run([] {
    const std::string bundle = applications() + "/Tessaly.app";
    makeBundle(bundle);
    expectUndone(
        bundle, [] { failSystemCall(SYS_setgroups, EAGAIN); }, EPERM);
  });
}

TEST_F(FailedStep, IsUndoneInTheTrashWithTheUsersRights) {
  run([] {
    makeFile(applications() + "/a", "");
    inChild([] {
      linux_::RootMove move = moveOf(applications() + "/a");
      std::string user;
      watchSystemCalls({SYS_renameat2, SYS_unlinkat}, [&](const SystemCall& call) {
        if (call.number == SYS_renameat2) return EIO;
        if (call.text(1) == "a.trashinfo") user = actingUser();
        return 0;
      });
      EXPECT_EQ(resultOf(move).error, EIO);
      EXPECT_EQ(user, std::to_string(kPerson));
    });
    expectEmptyTrash();
  });
}

// MARK: - What is not on the disk yet

TEST_F(FailedStep, IsPrecededByFlushingEverythingBefore) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    inChild([] {
      linux_::RootMove move = moveOf(applications() + "/Tessaly.app");
      Names flushed;
      watchSystemCalls({SYS_fsync, SYS_renameat2}, [&](const SystemCall& call) {
        flushed.push_back(call.number == SYS_fsync ? call.path() : "moved");
        return 0;
      });
      EXPECT_EQ(resultOf(move).note, "");
      ASSERT_EQ(flushed.size(), 7U);
      EXPECT_TRUE(flushed[0].ends_with("/record-new"));
      EXPECT_EQ(flushed[0], flushed[1] + "/record-new");
      flushed.erase(flushed.begin(), flushed.begin() + 2);
      EXPECT_EQ(flushed,
                (Names{trash() + "/info/Tessaly.app.trashinfo", "moved", trash() + "/info", files(), applications()}));
    });
  });
}

TEST_F(FailedStep, IsNotedWhereAFolderCannotBeFlushed) {
  run([] {
    for (const int nth : {4, 5, 6}) {
      makeFile(applications() + "/file" + std::to_string(nth), "");
      inChild([nth] {
        linux_::RootMove move = moveOf(applications() + "/file" + std::to_string(nth));
        failSystemCallOnce(SYS_fsync, nth, EIO);
        const Result result = resultOf(move);
        EXPECT_EQ(result.error, 0);
        EXPECT_EQ(result.note, kNotOnDisk);
      });
    }
    expectNoLeftovers();
    EXPECT_EQ(namesIn(files()).size(), 3U);
  });
}

TEST_F(FailedStep, IsNotedBesideTheNewName) {
  run([] {
    makeFile(files() + "/a", "", kPerson);
    makeFile(applications() + "/a", "");
    inChild([] {
      linux_::RootMove move = moveOf(applications() + "/a");
      watchSystemCalls({SYS_fsync}, [](const SystemCall& call) {
        return call.path() == files() || call.path() == applications() ? EIO : 0;
      });
      EXPECT_EQ(resultOf(move).note, "\"a\" is taken; it is now: a 2; " + kNotOnDisk + "; " + kNotOnDisk);
    });
  });
}

// MARK: - What is left for the next run

TEST_F(FailedStep, LeavesTheHandoverToTheNextRun) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    inChild([] {
      failSystemCall(SYS_fchown, EIO);
      const Result result = moved(applications() + "/Tessaly.app");
      EXPECT_EQ(result.error, 0);
      EXPECT_EQ(result.note, kUnfinished + "Input/output error");
      mend();
    });
    EXPECT_EQ(ownerOf(files() + "/Tessaly.app"), 0U);
    EXPECT_EQ(leftInTrash().size(), 1U) << "also after it could not be mended";
    mend();
    expectHandedOver();
  });
}

TEST_F(FailedStep, KeepsWhatWasTakenUntilThatIsRecorded) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      failSystemCallOnce(SYS_renameat, 4, EIO);
      const Result result = resultOf(move);
      EXPECT_EQ(result.error, 0);
      EXPECT_EQ(result.note, kUnfinished + "Input/output error");
    });
    EXPECT_EQ(contentsOf(leftOnVolume() + "/item/Contents/secret"), "secret");
    EXPECT_EQ(leftInTrash().size(), 1U);
    mend();
    EXPECT_EQ(namesIn(volume()), Names{});
    expectHandedOver();
  });
}

/// Folders of a move that are to be removed from this volume stay.
int failRemovalOnVolume(const SystemCall& call, const std::string& volume, int error) {
  const bool isFolder = (call.arguments[2] & AT_REMOVEDIR) != 0;
  return call.number == SYS_unlinkat && isFolder && call.path() == volume ? error : 0;
}

TEST_F(FailedStep, LeavesTheFolderThatCannotBeRemovedToTheNextRun) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      watchSystemCalls({SYS_unlinkat}, [](const SystemCall& call) { return failRemovalOnVolume(call, volume(), EIO); });
      const Result result = resultOf(move);
      EXPECT_EQ(result.error, 0);
      EXPECT_EQ(result.note, kUnfinished + "Input/output error");
    });
    EXPECT_EQ(namesIn(leftOnVolume()), Names{});
    EXPECT_EQ(leftInTrash().size(), 1U);
    mend();
    EXPECT_EQ(namesIn(volume()), Names{});
    expectHandedOver();
  });
}

// The user may delete the copy before the next run.
TEST_F(FailedStep, LeavesWhatWasTakenToBeRemovedEvenWithoutItsCopy) {
  run([] {
    const std::string bundle = bundleOnVolume();
    inChild([&] {
      linux_::RootMove move = moveOf(bundle);
      watchSystemCalls({SYS_unlinkat},
                       [](const SystemCall& call) { return call.path().starts_with(volume()) ? EIO : 0; });
      EXPECT_EQ(resultOf(move).error, 0);
    });
    EXPECT_TRUE(exists(leftOnVolume() + "/item"));
    std::filesystem::remove_all(files() + "/Tessaly.app");
    mend();
    EXPECT_EQ(namesIn(volume()), Names{});
    EXPECT_EQ(leftInTrash(), Names{});
  });
}

struct DoubleFailure {
  std::vector<FailedRename> renames;
  int removal = 0;
  std::string words;
};

TEST_F(FailedStep, LeavesWhatCannotBeUndoneToTheNextRunAndNamesTheFirstReason) {
  const FailedRename notTaken{"Tessaly.app", "item", EXDEV};
  const FailedRename notUnpublished{"Tessaly.app", "copy", EROFS};
  const std::vector<DoubleFailure> failures = {{{notTaken, notUnpublished}, 0, "Read-only file system"},
                                               {{notTaken}, EIO, "Input/output error"},
                                               {{notTaken, notUnpublished}, EIO, "Read-only file system"}};
  for (const DoubleFailure& failure : failures) {
    run([&] {
      const std::string bundle = bundleOnVolume();
      inChild([&] {
        linux_::RootMove move = moveOf(bundle);
        watchSystemCalls({SYS_renameat2, SYS_unlinkat}, [&](const SystemCall& call) {
          if (call.number == SYS_unlinkat) return failRemovalOnVolume(call, volume(), failure.removal);
          for (const FailedRename& one : failure.renames) {
            if (call.text(1) == one.from && call.text(3) == one.to) return one.error;
          }
          return 0;
        });
        const Result result = resultOf(move);
        EXPECT_EQ(result.error, EXDEV);
        EXPECT_EQ(result.note, kUnfinished + failure.words);
      });
      EXPECT_EQ(leftInTrash().size(), 1U);
      mend();
      expectAsMade(bundle);
      expectEmptyTrash();
    });
  }
}

// MARK: - Names

TEST_F(FailedStep, IsNoNameBeforeTheLastOneThatIsTried) {
  run([] {
    makeFile(applications() + "/a", "a");
    makeFile(files() + "/a", "", kPerson);
    for (int number = 2; number <= 63; ++number) makeFile(files() + "/a " + std::to_string(number), "", kPerson);
    EXPECT_EQ(moved(applications() + "/a").note, "\"a\" is taken; it is now: a 64");
    EXPECT_EQ(contentsOf(files() + "/a 64"), "a");
  });
}

}  // namespace
}  // namespace qm::testing
