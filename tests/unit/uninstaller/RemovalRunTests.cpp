// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalRun.h"

#include <algorithm>

#include "tests/unit/uninstaller/AppControllerTest.h"

namespace qm::testing {
namespace {

using platform::errAuthorizationCanceled;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

const std::string kReason = "“Tessaly.app” couldn’t be moved to the Trash because it is busy.";

/// A machine with an observer, on a thread that is not the main one.
class Run : public PlatformTest {
 protected:
  Run() {
    fakes.mainThread.disown();
    fakes.calls.setFailure(16, kReason);
  }

  RemovalReport remove(Measured measured = Measured::No) {
    return RemovalRun(&observer, measured).removeProduct(RemoveConfig::Yes);
  }

  RemovalObserver observer{fakes.platform};

 private:
  ScopedPlatform installed_{observer.services()};
};

TEST_F(Run, ReturnsAResultForEveryItem) {
  installProduct(fakes.disk);
  const RemovalReport report = remove();
  ASSERT_THAT(report.items, SizeIs(kItems.size()));
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    EXPECT_EQ(report.items[index].planned.path, kItems[index]);
    EXPECT_EQ(report.items[index].outcome, ItemOutcome::Trashed);
    EXPECT_FALSE(fakes.disk.has(kItems[index]));
  }
  EXPECT_THAT(stayedItems(report), IsEmpty());
}

TEST_F(Run, SaysWhereInTheTrashEachItemIsWithoutAskingForIt) {
  installItem(fakes.disk, 1);
  const ItemResult first = remove().items.at(1);
  EXPECT_EQ(first.trashedTo, "/home/u/.local/share/Trash/files/Tessaly.app");
  EXPECT_TRUE(fakes.disk.has(first.trashedTo));
  installItem(fakes.disk, 1);
  EXPECT_EQ(remove().items.at(1).trashedTo, "/home/u/.local/share/Trash/files/Tessaly 2.app");
  EXPECT_THAT(fakes.calls.everything(), Each(Not(::testing::StartsWith("trash.itemsFrom"))));
}

TEST_F(Run, FindsInTheTrashWhatWasMovedWithRights) {
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  fakes.authorizationServices.onExecute("/bin/mv", [this](const Strings&) {
    EXPECT_TRUE(fakes.trash.recycle("/Applications", "/home/u/.Trash", {"Tessaly.app"}));
  });
  ItemResult result = remove().items.at(1);
  EXPECT_EQ(result.outcome, ItemOutcome::Trashed);
  EXPECT_EQ(result.trashedTo, "");
  findInTrash(result);
  EXPECT_EQ(result.trashedTo, "/home/u/.local/share/Trash/files/Tessaly.app");
}

TEST_F(Run, NamesNoPlaceInTheTrashForWhatStayedOrIsNotFoundThere) {
  installItem(fakes.disk, 0);
  installItem(fakes.disk, 1);
  fakes.calls.failAlways("trash.recycle");
  fakes.authorizationServices.onExecute(
      "/bin/mv", [this](const Strings& arguments) { fakes.disk.remove(arguments.at(arguments.size() - 2)); });
  fakes.calls.failAlways("trash.itemsFrom");
  RemovalReport report = remove();
  EXPECT_EQ(report.items.at(1).outcome, ItemOutcome::Trashed);
  for (ItemResult& result : report.items) {
    findInTrash(result);
    EXPECT_EQ(result.trashedTo, "");
  }
}

TEST_F(Run, SaysThatAnItemWasGoneAlready) {
  installItem(fakes.disk, 1);
  const RemovalReport report = remove();
  EXPECT_EQ(report.items.at(0).outcome, ItemOutcome::Gone);
  EXPECT_EQ(report.items.at(1).outcome, ItemOutcome::Trashed);
}

TEST_F(Run, SaysThatThePreferencesWereToStay) {
  installProduct(fakes.disk);
  const RemovalReport report = RemovalRun(&observer).removeProduct(RemoveConfig::No);
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    EXPECT_EQ(report.items[index].outcome, isPreference(index) ? ItemOutcome::Skipped : ItemOutcome::Trashed);
    EXPECT_EQ(fakes.disk.has(kItems[index]), isPreference(index));
  }
}

TEST_F(Run, NamesTheGuardThatSparedAnItem) {
  fakes.disk.addFile("/home/u/build/Release/Tessaly.app");
  PlannedItem item;
  item.path = "/home/u/build/Release/Tessaly.app";
  const ItemResult result = RemovalRun(&observer).trash(item);
  EXPECT_EQ(result.outcome, ItemOutcome::Skipped);
  EXPECT_EQ(result.planned.skip, SkipReason::InReleaseFolder);
}

TEST_F(Run, GivesTheSystemsReasonAndThatRightsWereNotGranted) {
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  fakes.authorizationServices.answerAlways("copyRights", errAuthorizationCanceled);
  const ItemResult result = remove().items.at(1);
  EXPECT_EQ(result.outcome, ItemOutcome::Stayed);
  EXPECT_EQ(result.reason, kReason);
  EXPECT_TRUE(result.notAuthorized);
  EXPECT_TRUE(fakes.disk.has(kItems[1]));
}

TEST_F(Run, GivesTheLastWordOfTheToolThatHadTheRights) {
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  fakes.authorizationServices.onExecute(
      "/bin/mv", [](const Strings&) { platform::printToConsole("/bin/mv failed with status 1: the disk is full"); });
  const ItemResult result = remove().items.at(1);
  EXPECT_EQ(result.outcome, ItemOutcome::Stayed);
  EXPECT_EQ(result.reason, "/bin/mv failed with status 1: the disk is full");
  EXPECT_FALSE(result.notAuthorized);
}

TEST_F(Run, GivesThePlainReasonWhereTheToolSaidNothing) {
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  fakes.authorizationServices.onExecute("/bin/mv", [](const Strings&) {});
  EXPECT_EQ(remove().items.at(1).reason, kReason);
}

TEST_F(Run, TakesNoReasonFromTheItemBefore) {
  installItem(fakes.disk, 1);
  installItem(fakes.disk, 8);
  fakes.calls.failNth("trash.recycle", 1);
  fakes.authorizationServices.answerAlways("copyRights", errAuthorizationCanceled);
  const RemovalReport report = remove();
  EXPECT_THAT(stayedItems(report), ElementsAre(Field(&ItemResult::reason, kReason)));
  EXPECT_EQ(report.items.at(8).outcome, ItemOutcome::Trashed);
  EXPECT_EQ(report.items.at(8).reason, "");
  EXPECT_FALSE(report.items.at(8).notAuthorized);
}

TEST_F(Run, TakesNoPlaceInTheTrashFromTheItemBefore) {
  installItem(fakes.disk, 0);
  installItem(fakes.disk, 1);
  fakes.calls.failNth("trash.recycle", 2);
  fakes.authorizationServices.onExecute(
      "/bin/mv", [this](const Strings& arguments) { fakes.disk.remove(arguments.at(arguments.size() - 2)); });
  const RemovalReport report = remove();
  EXPECT_NE(report.items.at(0).trashedTo, "");
  EXPECT_EQ(report.items.at(1).outcome, ItemOutcome::Trashed);
  EXPECT_EQ(report.items.at(1).trashedTo, "");
}

TEST_F(Run, KnowsNoReasonsWithoutAnObserver) {
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  fakes.authorizationServices.answerAlways("copyRights", errAuthorizationCanceled);
  const RemovalReport report = RemovalRun().removeProduct(RemoveConfig::Yes);
  EXPECT_EQ(report.items.at(1).outcome, ItemOutcome::Stayed);
  EXPECT_EQ(report.items.at(1).reason, "");
}

TEST_F(Run, MeasuresItemsBeforeTheyGoWhereThatIsWanted) {
  fakes.disk.addFile(kItems[0] + "/Contents/data", "12345");
  fakes.disk.addFile(kItems[8], "123");
  const RemovalReport report = remove(Measured::Yes);
  EXPECT_EQ(report.items.at(0).planned.bytes, 5U);
  EXPECT_EQ(report.items.at(0).planned.kind, ItemKind::Folder);
  EXPECT_EQ(report.items.at(8).planned.bytes, 3U);
}

TEST_F(Run, SaysWhetherTheMakersFolderWent) {
  installItem(fakes.disk, 0);
  EXPECT_TRUE(remove().makersFolderRemoved);
  EXPECT_FALSE(fakes.disk.has(kFolder));
  fakes.disk.addFile(kNeighbours[0]);
  EXPECT_FALSE(remove().makersFolderRemoved);
  EXPECT_TRUE(fakes.disk.has(kFolder));
}

TEST_F(Run, HoldsNoRightsAndOwesTheDiskNothingAtItsEnd) {
  installProduct(fakes.disk);
  remove();
  const Strings calls = fakes.calls.everything();
  ASSERT_GE(calls.size(), 2U);
  EXPECT_EQ(calls[calls.size() - 2], "trash.makeDurable()");
  EXPECT_EQ(calls.back(), "authorization.releaseRights()");
}

/// The calls of a run on a new machine, where the first item needs rights, with or without a observer.
Strings callsOfARun(bool isHeard) {
  FakePlatform fakes;
  fakes.mainThread.disown();
  installProduct(fakes.disk);
  fakes.calls.failNth("trash.recycle", 1);
  fakes.authorizationServices.offerParentSession();
  RemovalObserver observer(fakes.platform);
  const ScopedPlatform installed(isHeard ? observer.services() : fakes.platform);
  const SingletonReset<QMAuthorization> authorization;
  const SingletonReset<QMLog> log;
  RemovalRun(isHeard ? &observer : nullptr).removeProduct(RemoveConfig::Yes);
  QMAuthorization::sharedController()->authEnd();
  fakes.end();
  return fakes.calls.everything();
}

TEST(RunWithAWitness, MakesTheSameCallsAsWithout) {
  const Strings calls = callsOfARun(true);
  EXPECT_THAT(calls, ::testing::Contains(::testing::StartsWith("authorization.executeWithPrivileges(/bin/mv")));
  EXPECT_EQ(calls, callsOfARun(false));
}

TEST_F(Run, AsRootStartsTheFormThatIsSafeForRoot) {
  fakes.actAsRoot("u");
  fakes.authorizationServices.setRootsTool("/opt/helper");
  fakes.disk.addExecutable("/opt/helper");
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  remove();
  EXPECT_THAT(fakes.tasks.launches(), Each(::testing::Contains("/opt/helper")));
  EXPECT_THAT(fakes.tasks.launches(), ::testing::Not(IsEmpty()));
}

}  // namespace
}  // namespace qm::testing
