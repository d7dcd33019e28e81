// SPDX-License-Identifier: MIT
#include <atomic>
#include <mutex>
#include <thread>

#include "tests/unit/uninstaller/AppControllerTest.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using std::chrono::milliseconds;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// MARK: - The windows

class Uninstall : public AppControllerTest {};

TEST_F(Uninstall, ShowsTheProgressInPlaceOfTheMainWindowAndStartsTheWorker) {
  fakes.threads.keepBodies();
  controller.uninstall(&sender);
  EXPECT_THAT(
      fakes.calls.everything(),
      ElementsAre("progressBar.setUsesThreadedAnimation(YES)", "progressBar.startAnimation()",
                  "windowProgress.makeKeyAndOrderFront()", "windowMain.orderOut()", "threads.detachNewThread()"));
  EXPECT_TRUE(fakes.interface.progressBar.isAnimated());
  EXPECT_TRUE(fakes.interface.progressBar.usesThreadedAnimation());
  EXPECT_TRUE(fakes.interface.windowProgress.isVisible());
  EXPECT_FALSE(fakes.interface.windowMain.isVisible());
}

TEST_F(Uninstall, ReturnsWhileTheWorkerIsAtIt) {
  fakes.calls.hang("tasks.launch");
  controller.uninstall(nullptr);
  EXPECT_TRUE(fakes.calls.waitUntilHanging("tasks.launch"));
  EXPECT_FALSE(fakes.userInterface.isTerminated());
  EXPECT_TRUE(fakes.interface.windowProgress.isVisible());
}

TEST_F(Uninstall, EndsInTheAlertAndTheEndOfTheApplication) {
  installProduct(fakes.disk);
  run();
  const Strings calls = fakes.calls.everything();
  ASSERT_GE(calls.size(), 4U);
  EXPECT_THAT(Strings(calls.end() - 4, calls.end()),
              ElementsAre("mainThread.performAndWait()", "windowProgress.orderOut()",
                          "userInterface.runAlertPanel(Uninstall complete, Items have been placed in your Trash.)",
                          "userInterface.terminate(sender)"));
  EXPECT_FALSE(fakes.interface.windowProgress.isVisible());
  EXPECT_THAT(fakes.userInterface.terminateSenders(), ElementsAre(&controller));
}

TEST_F(Uninstall, KeepsTheAlertOpenUntilItIsDismissed) {
  fakes.mainThread.serveOnOwnThread();
  fakes.calls.hang("userInterface.runAlertPanel");
  fakes.mainThread.perform([this] { controller.uninstall(&sender); });
  ASSERT_TRUE(fakes.calls.waitUntilHanging("userInterface.runAlertPanel"));
  EXPECT_FALSE(fakes.interface.windowProgress.isVisible());
  EXPECT_FALSE(fakes.userInterface.isTerminated());
}

TEST_F(Uninstall, RunsOnTheMainThreadWhenTheSystemGivesNoOther) {
  installProduct(fakes.disk);
  fakes.calls.failNext("threads.detachNewThread");
  controller.uninstall(&sender);
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
  EXPECT_THAT(fakes.userInterface.terminateSenders(), ElementsAre(&controller));
}

TEST_F(Uninstall, GivesTheAlertNoDetailsWhereEverythingWent) {
  installProduct(fakes.disk);
  run();
  EXPECT_EQ(fakes.userInterface.details(), "");
}

TEST_F(Uninstall, GivesTheAlertEachItemThatStayedAndTheReason) {
  installItem(fakes.disk, 1);
  fakes.calls.failNext("trash.recycle");
  fakes.authorizationServices.answerAlways("copyRights", platform::errAuthorizationCanceled);
  run();
  EXPECT_EQ(fakes.userInterface.details(), kItems[1] + "\nThe system gives no reason.\n");
}

TEST_F(AppControllerTest, EndsTheProgressInThreeSteps) {
  controller.endProgress();
  EXPECT_THAT(fakes.calls.everything(),
              ElementsAre("windowProgress.orderOut()",
                          "userInterface.runAlertPanel(Uninstall complete, Items have been placed in your Trash.)",
                          "userInterface.terminate(sender)"));
  EXPECT_THAT(fakes.userInterface.terminateSenders(), ElementsAre(&controller));
}

TEST_F(AppControllerTest, CancelEndsTheApplicationAndNothingElse) {
  installProduct(fakes.disk);
  controller.cancel(&sender);
  EXPECT_THAT(fakes.calls.everything(), ElementsAre("userInterface.terminate(sender)"));
  EXPECT_THAT(fakes.userInterface.terminateSenders(), ElementsAre(&controller));
}

TEST_F(AppControllerTest, CancelDoesNotNeedASender) {
  controller.cancel(nullptr);
  EXPECT_THAT(fakes.userInterface.terminateSenders(), ElementsAre(&controller));
}

TEST_F(AppControllerTest, DoesNothingWhenTheInterfaceIsLoaded) {
  controller.awakeFromNib();
  EXPECT_THAT(fakes.calls.everything(), IsEmpty());
}

// MARK: - Threads

class UninstallThreads : public AppControllerTest {
 protected:
  /// Records, for each of these calls, whether it was made on the main thread.
  void watch(const std::string& call) {
    fakes.calls.before(call, 1, [this, call] {
      const std::scoped_lock lock(mutex_);
      (fakes.mainThread.isMainThread() ? onMain : onWorker).push_back(call);
    });
  }

  std::mutex mutex_;
  Strings onMain;
  Strings onWorker;
};

TEST_F(UninstallThreads, DoTheWorkOnTheWorkerAndTheInterfaceOnTheMainThread) {
  installProduct(fakes.disk);
  const Strings ofTheWorker = {"removeConfigCheck.state",       "tasks.launch",
                               "tasks.waitUntilExit",           "trash.recycle",
                               "fileSystem.removeHollowFolder", "trash.makeDurable"};
  const Strings ofTheMainThread = {"progressBar.startAnimation",  "windowProgress.makeKeyAndOrderFront",
                                   "windowMain.orderOut",         "windowProgress.orderOut",
                                   "userInterface.runAlertPanel", "userInterface.terminate"};
  for (const std::string& call : ofTheWorker) watch(call);
  for (const std::string& call : ofTheMainThread) watch(call);
  run();
  const std::scoped_lock lock(mutex_);
  EXPECT_EQ(onWorker, ofTheWorker);
  EXPECT_EQ(onMain, ofTheMainThread);
  EXPECT_THAT(fakes.interface.record.offMainThread(), IsEmpty());
}

TEST_F(UninstallThreads, LetTheWorkerWaitForTheEndThatNeverLetsItGo) {
  fakes.threads.keepBodies();
  fakes.mainThread.serveOnOwnThread();
  fakes.calls.hang("userInterface.runAlertPanel");
  controller.uninstall(&sender);
  std::atomic<bool> isBack = false;
  std::thread worker([&] {
    fakes.threads.runKept();
    isBack = true;
  });
  EXPECT_TRUE(fakes.calls.waitUntilHanging("userInterface.runAlertPanel"));
  EXPECT_FALSE(isBack);
  fakes.calls.release("userInterface.runAlertPanel");
  while (!fakes.userInterface.isTerminated()) std::this_thread::yield();
  EXPECT_FALSE(isBack);
  fakes.mainThread.releaseWaiters();
  worker.join();
  EXPECT_EQ(fakes.calls.everything().back(), "userInterface.terminate(sender)");
}

// MARK: - The order of the run

class UninstallRun : public AppControllerTest {};

TEST_F(UninstallRun, ReadsTheCheckBoxOnceBeforeAnythingElse) {
  installProduct(fakes.disk);
  fakes.calls.before("tasks.launch", 1, [this] { fakes.interface.removeConfigCheck.setState(uninstaller::kOffState); });
  fakes.threads.keepBodies();
  controller.uninstall(&sender);
  fakes.calls.clear();
  fakes.threads.runKept();
  EXPECT_EQ(fakes.calls.everything().front(), "removeConfigCheck.state()");
  EXPECT_EQ(fakes.calls.count("removeConfigCheck.state"), 1U);
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
}

TEST_F(UninstallRun, StopsTheProductAndWaitsBeforeItTouchesAnything) {
  installProduct(fakes.disk);
  run();
  EXPECT_THAT(fakes.tasks.launches(), ElementsAre(ElementsAre("/usr/bin/killall", "Tessaly")));
  EXPECT_TRUE(fakes.calls.areInOrder({"tasks.waitUntilExit(/usr/bin/killall)", "fileSystem.fileExists"}));
  EXPECT_EQ(fakes.calls.count("tasks.terminationStatus"), 0U);
  EXPECT_EQ(fakes.calls.count("threads.detachNewThread"), 1U);  // no time limit
}

TEST_F(UninstallRun, TouchesNothingWhileTheProductIsBeingStopped) {
  installProduct(fakes.disk);
  fakes.calls.hang("tasks.waitUntilExit");
  controller.uninstall(&sender);
  ASSERT_TRUE(fakes.calls.waitUntilHanging("tasks.waitUntilExit"));
  EXPECT_THAT(recycled(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("standardDirectories.search"), 0U);
}

TEST_F(UninstallRun, GoesOnWhenTheProductIsNotRunning) {
  installProduct(fakes.disk);
  TaskScript script;
  script.exitStatus = 1;
  fakes.tasks.script("/usr/bin/killall", script);
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
}

TEST_F(UninstallRun, GoesOnWhenTheToolIsMissing) {
  installProduct(fakes.disk);
  fakes.disk.remove("/usr/bin/killall");
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
  EXPECT_THAT(fakes.console.lines(), Contains("Error: /usr/bin/killall is not executable"));
}

TEST_F(UninstallRun, GoesOnWhenTheToolCannotBeStarted) {
  installProduct(fakes.disk);
  fakes.calls.failNext("tasks.launch");
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
}

TEST_F(UninstallRun, TrashesAllTwelveItemsInOrder) {
  installProduct(fakes.disk);
  installNeighbours(fakes.disk);
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
  for (const std::string& item : kItems) EXPECT_FALSE(fakes.disk.has(item)) << item;
  for (const std::string& file : kNeighbours) EXPECT_EQ(fakes.disk.fileContents(file), file);
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
}

TEST_F(UninstallRun, UsesTheUsersTrash) {
  installItem(fakes.disk, 0);
  run();
  EXPECT_THAT(callsOf("trash.recycle"),
              ElementsAre("trash.recycle(/Applications/Quillmark, /home/u/.Trash, Tessaly.app)"));
}

TEST_F(UninstallRun, LeavesThePreferencesWhenTheirBoxIsOff) {
  installProduct(fakes.disk);
  fakes.interface.removeConfigCheck.setState(uninstaller::kOffState);
  run();
  Strings expected;
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    if (!isPreference(index)) expected.push_back(kItems[index]);
  }
  EXPECT_EQ(recycled(), expected);
  for (std::size_t index = 4; index < 8; ++index) {
    EXPECT_EQ(fakes.disk.fileContents(kItems[index]), kItems[index]);
    EXPECT_EQ(fakes.calls.count("fileSystem.fileExists(" + kItems[index] + ")"), 0U);
  }
}

TEST_F(UninstallRun, TakesOnlyTheOnStateForOn) {
  for (const int state : {-1, 2}) {
    installItem(fakes.disk, 4);
    fakes.interface.removeConfigCheck.setState(state);
    fakes.threads.keepBodies();
    controller.uninstall(&sender);
    fakes.threads.runKept();
    EXPECT_TRUE(fakes.disk.has(kItems[4])) << state;
  }
}

TEST_F(UninstallRun, NeverReadsTheBoxOfTheSharedFiles) {
  installProduct(fakes.disk);
  fakes.interface.removeSharedCheck.setState(uninstaller::kOnState);
  run();
  EXPECT_EQ(fakes.calls.count("removeSharedCheck.state"), 0U);
}

TEST_F(UninstallRun, SaysNothingAndTouchesNothingWhenNothingIsInstalled) {
  run();
  EXPECT_THAT(recycled(), IsEmpty());
  EXPECT_THAT(fakes.console.lines(), IsEmpty());
  EXPECT_EQ(fakes.calls.count("userInterface.runAlertPanel"), 1U);
}

TEST_F(UninstallRun, ActsForTheConsoleUserAsRoot) {
  fakes.actAsRoot("u");
  installProduct(fakes.disk);
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
  EXPECT_THAT(callsOf("trash.recycle"), Each(::testing::HasSubstr(", /home/u/.Trash, ")));
}

TEST_F(UninstallRun, SkipsItemsInFoldersThatTheSystemDoesNotHave) {
  installProduct(fakes.disk);
  fakes.standardDirectories.set(StandardDirectory::Application, DomainMask::Local, {});
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems.begin() + 2, kItems.end()));
  EXPECT_TRUE(fakes.disk.has(kItems[0]));
  EXPECT_THAT(fakes.userInterface.terminateSenders(), ElementsAre(&controller));
}

TEST_F(UninstallRun, GoesOnAfterAnItemThatCannotBeTrashed) {
  installProduct(fakes.disk);
  fakes.calls.failAlways("trash.recycle");
  fakes.calls.failAlways("authorization.copyRights");
  run();
  EXPECT_THAT(recycled(), ElementsAreArray(kItems));
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    EXPECT_EQ(fakes.disk.fileContents(witness(index)), witness(index));
  }
  EXPECT_EQ(fakes.calls.count("userInterface.runAlertPanel"), 1U);
}

TEST_F(UninstallRun, WaitsTenSecondsForAnItemThatStays) {
  installItem(fakes.disk, 1);
  fakes.calls.failAlways("trash.recycle");
  fakes.authorizationServices.onExecute("/bin/mv", [](const Strings&) {});  // started, and never carried out
  run();
  // The limit is checked before each pause of 0.3 seconds.
  EXPECT_THAT(fakes.clock.sleeps(), AllOf(SizeIs(34), Each(milliseconds(300))));
  EXPECT_EQ(fakes.calls.count("userInterface.runAlertPanel"), 1U);
}

class UninstallItem : public AppControllerTest, public ::testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(All, UninstallItem, ::testing::Range<std::size_t>(0, kItems.size()),
                         [](const auto& each) { return "Number" + std::to_string(each.param + 1); });

TEST_P(UninstallItem, GoesAloneWhenItIsTheOnlyOneThere) {
  installItem(fakes.disk, GetParam());
  run();
  EXPECT_THAT(recycled(), ElementsAre(kItems.at(GetParam())));
  EXPECT_FALSE(fakes.disk.has(kItems.at(GetParam())));
}

TEST_P(UninstallItem, GoesWithThePreferencesBoxOffUnlessItIsAPreference) {
  installItem(fakes.disk, GetParam());
  fakes.interface.removeConfigCheck.setState(uninstaller::kOffState);
  run();
  EXPECT_EQ(fakes.disk.has(kItems.at(GetParam())), isPreference(GetParam()));
}

TEST_P(UninstallItem, IsTheOnlyOneLeftWhenItCannotBeTrashed) {
  installProduct(fakes.disk);
  const std::string& item = kItems.at(GetParam());
  fakes.calls.failNth("trash.recycle", GetParam() + 1);
  fakes.calls.failAlways("authorization.copyRights");
  run();
  for (const std::string& each : kItems) EXPECT_EQ(fakes.disk.has(each), each == item) << each;
  EXPECT_EQ(fakes.disk.fileContents(witness(GetParam())), witness(GetParam()));
}

// MARK: - The maker's folder

class MakersFolder : public AppControllerTest {};

TEST_F(MakersFolder, GoesWhenTheProductWasAllThatWasInIt) {
  installProduct(fakes.disk);
  run();
  EXPECT_FALSE(fakes.disk.has(kFolder));
  EXPECT_THAT(callsOf("fileSystem.removeHollowFolder"), ElementsAre("fileSystem.removeHollowFolder(" + kFolder + ")"));
}

TEST_F(MakersFolder, GoesAfterTheLastItem) {
  installProduct(fakes.disk);
  run();
  EXPECT_TRUE(
      fakes.calls.areInOrder({"trash.recycle(/home/u/Library/LaunchAgents, /home/u/.Trash, "
                              "com.quillmark.OrvendelProjectWatcher.plist)",
                              "fileSystem.contentsOfDirectory(" + kFolder + ")", "fileSystem.removeHollowFolder",
                              "trash.makeDurable", "authorization.releaseRights", "windowProgress.orderOut"}));
  EXPECT_EQ(fakes.calls.count("trash.makeDurable"), 1U);
}

TEST_F(MakersFolder, GoesWithTheHousekeepingLeftInIt) {
  installProduct(fakes.disk);
  fakes.disk.addFile(kFolder + "/.DS_Store");
  run();
  EXPECT_FALSE(fakes.disk.has(kFolder));
}

TEST_F(MakersFolder, StaysWithAnotherProductInIt) {
  installProduct(fakes.disk);
  installNeighbours(fakes.disk);
  run();
  EXPECT_EQ(fakes.disk.fileContents(kNeighbours[0]), kNeighbours[0]);
  EXPECT_THAT(callsOf("fileSystem.removeItem"), IsEmpty());
  EXPECT_THAT(callsOf("fileSystem.removeHollowFolder"), IsEmpty());
}

TEST_F(MakersFolder, StaysWithTheProductThatCouldNotBeTrashed) {
  installProduct(fakes.disk);
  fakes.calls.failNext("trash.recycle");
  fakes.calls.failAlways("authorization.copyRights");
  run();
  EXPECT_EQ(fakes.disk.fileContents(witness(0)), witness(0));
}

}  // namespace
}  // namespace qm::testing
