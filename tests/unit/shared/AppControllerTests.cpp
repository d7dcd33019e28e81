#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <type_traits>

#include "Uninstaller/AppController.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {
namespace {

using platform::DomainMask;
using platform::StandardDirectory;
using std::chrono::milliseconds;
using std::chrono::seconds;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

using Strings = std::vector<std::string>;

template <class Path>
concept IsTrashablePath = requires(AppController controller, Path path) {
  controller.trashFile(path);
};
static_assert(IsTrashablePath<std::string> && IsTrashablePath<const char*> && IsTrashablePath<std::nullopt_t>);
static_assert(!IsTrashablePath<std::nullptr_t>, "a null pointer is no path");

const std::string kFolder = "/Applications/Quillmark";
const std::string kTrashFiles = "/home/u/.local/share/Trash/files";

/// The items in the order in which they go.
const std::array<std::string, 12> kItems = {
    "/Applications/Quillmark/Tessaly.app",
    "/Applications/Tessaly.app",
    "/home/u/Library/Application Support/Quillmark/Tessaly/Caches",
    "/home/u/Library/Caches/com.quillmark.tessaly",
    "/home/u/Library/Preferences/com.quillmark.Tessaly.plist",
    "/home/u/Library/Preferences/com.quillmark.tessaly.plist",
    "/Library/Preferences/com.quillmark.Tessaly.plist",
    "/Library/Preferences/com.quillmark.tessaly.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.Tessaly.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.TessalyProjectWatcher.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.Tessaly.autosave.plist",
    "/home/u/Library/LaunchAgents/com.quillmark.OrvendelProjectWatcher.plist",
};

bool isPreference(std::size_t index) { return index >= 4 && index < 8; }

/// What looks like the product and is not.
const std::array<std::string, 5> kNeighbours = {
    "/Applications/Quillmark/Orvendel.app/Contents/Info.plist", "/Applications/Tessaly.app.old/data",
    "/home/u/Library/Preferences/com.quillmark.Orvendel.plist", "/home/u/Library/Caches/com.quillmark.orvendel/data",
    "/home/u/Library/LaunchAgents/com.quillmark.Tessaly.other.plist"};

bool isFolderItem(std::size_t index) { return index < 4; }

/// The file that tells an item from others: its path is its contents.
std::string witness(std::size_t index) {
  return isFolderItem(index) ? kItems[index] + "/Contents/data" : kItems[index];
}

void installItem(FakeDisk& disk, std::size_t index) { disk.addFile(witness(index), witness(index)); }

void installProduct(FakeDisk& disk) {
  for (std::size_t index = 0; index < kItems.size(); ++index) installItem(disk, index);
}

void installNeighbours(FakeDisk& disk) {
  for (const std::string& file : kNeighbours) disk.addFile(file, file);
}

/// Whoever sends an action.
class Sender : public platform::ActionSender {};

/// A machine, the controller on its interface, and a test that is the main thread.
class AppControllerTest : public PlatformTest {
 protected:
  AppControllerTest() {
    controller.connect(fakes.interface.outlets());
    fakes.interface.removeConfigCheck.setState(platform::kOnState);
  }

  /// From the click to the end.
  void run() {
    controller.uninstall(&sender);
    ASSERT_TRUE(fakes.mainThread.pumpUntil([this] { return fakes.userInterface.isTerminated(); }));
  }

  /// The calls of one operation, in order.
  Strings callsOf(const std::string& operation) const {
    Strings calls = fakes.calls.everything();
    std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(operation + "("); });
    return calls;
  }

  /// The paths that were handed to the Trash, in order.
  Strings recycled() const {
    Strings paths;
    for (std::string call : callsOf("trash.recycle")) {
      call = call.substr(std::string("trash.recycle(").size());
      call.pop_back();
      paths.push_back(call.substr(0, call.find(", ")) + "/" + call.substr(call.rfind(", ") + 2));
    }
    return paths;
  }

  /// Neither a change nor a word: nothing that the file manager does.
  void expectUntouched() const {
    EXPECT_THAT(fakes.calls.log(), IsEmpty());
    EXPECT_THAT(fakes.console.lines(), IsEmpty());
  }

  Sender sender;
  AppController controller;
};

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
  /// Notes, for each of these calls that comes, whether it was made on the main thread.
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
  const Strings ofTheWorker = {"removeConfigCheck.state", "tasks.launch", "tasks.waitUntilExit", "trash.recycle",
                               "fileSystem.removeItem"};
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
  fakes.mainThread.letWaitersGo();
  worker.join();
  EXPECT_EQ(fakes.calls.everything().back(), "userInterface.terminate(sender)");
}

// MARK: - The order of the run

class UninstallRun : public AppControllerTest {};

TEST_F(UninstallRun, ReadsTheCheckBoxOnceBeforeAnythingElse) {
  installProduct(fakes.disk);
  fakes.calls.before("tasks.launch", 1, [this] { fakes.interface.removeConfigCheck.setState(platform::kOffState); });
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
  EXPECT_LT(fakes.calls.indexOf("tasks.waitUntilExit(/usr/bin/killall)"), fakes.calls.indexOf("fileSystem.fileExists"));
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
  fakes.interface.removeConfigCheck.setState(platform::kOffState);
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
  fakes.interface.removeSharedCheck.setState(platform::kOnState);
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
  fakes.authorizationServices.onExecute("/bin/mv", [](const Strings&) {});  // started, and never done
  run();
  // The limit is looked at before each pause of 0.3 seconds.
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
  fakes.interface.removeConfigCheck.setState(platform::kOffState);
  run();
  EXPECT_EQ(fakes.disk.has(kItems.at(GetParam())), isPreference(GetParam()));
}

TEST_P(UninstallItem, IsTheOnlyOneLeftWhenItCannotBeTrashed) {
  installProduct(fakes.disk);
  const std::string& item = kItems.at(GetParam());
  fakes.calls.failNth("trash.recycle", GetParam() + 1);
  fakes.calls.failAlways("authorization.copyRights");
  run();
  for (std::size_t index = 0; index < kItems.size(); ++index) {
    EXPECT_EQ(fakes.disk.has(kItems[index]), kItems[index] == item) << kItems[index];
  }
  EXPECT_EQ(fakes.disk.fileContents(witness(GetParam())), witness(GetParam()));
}

// MARK: - The maker's folder

class MakersFolder : public AppControllerTest {};

TEST_F(MakersFolder, GoesWhenTheProductWasAllThatWasInIt) {
  installProduct(fakes.disk);
  run();
  EXPECT_FALSE(fakes.disk.has(kFolder));
  EXPECT_THAT(callsOf("fileSystem.removeItem"), ElementsAre("fileSystem.removeItem(" + kFolder + ")"));
}

TEST_F(MakersFolder, GoesAfterTheLastItem) {
  installProduct(fakes.disk);
  run();
  const auto last = fakes.calls.indexOf(
      "trash.recycle(/home/u/Library/LaunchAgents, /home/u/.Trash, "
      "com.quillmark.OrvendelProjectWatcher.plist)");
  const auto listed = fakes.calls.indexOf("fileSystem.contentsOfDirectory(" + kFolder + ")");
  const auto ended = fakes.calls.indexOf("windowProgress.orderOut");
  ASSERT_TRUE(last && listed && ended);
  EXPECT_LT(last, listed);
  EXPECT_LT(fakes.calls.indexOf("fileSystem.removeItem"), ended);
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
}

TEST_F(MakersFolder, StaysWithTheProductThatCouldNotBeTrashed) {
  installProduct(fakes.disk);
  fakes.calls.failNext("trash.recycle");
  fakes.calls.failAlways("authorization.copyRights");
  run();
  EXPECT_EQ(fakes.disk.fileContents(witness(0)), witness(0));
}

// MARK: - One item

class TrashOneItem : public AppControllerTest {
 protected:
  TrashOneItem() { fakes.mainThread.disown(); }

  void expectSkipped(const std::string& path) {
    fakes.disk.addFile(path);
    fakes.calls.clear();
    controller.trashFile(path);
    expectUntouched();
    EXPECT_EQ(fakes.calls.count("fileSystem.fileExists"), 0U) << path;
    EXPECT_TRUE(fakes.disk.has(path)) << path;
  }

  void expectTrashed(const std::string& path) {
    fakes.disk.addFile(path);
    controller.trashFile(path);
    EXPECT_FALSE(fakes.disk.has(path)) << path;
    EXPECT_THAT(recycled(), Contains(path));
  }
};

TEST_F(TrashOneItem, SkipsNilWithoutAnyCall) {
  controller.trashFile(std::nullopt);
  EXPECT_THAT(fakes.calls.everything(), IsEmpty());
}

TEST_F(TrashOneItem, SkipsWhatLiesInAFolderNamedRelease) {
  expectSkipped("/home/u/build/Release/Tessaly.app");
  expectSkipped("/Release/Tessaly.app");
  expectSkipped("/home/u/build/Release//Other.app");
  fakes.calls.clear();
  controller.trashFile("/home/u/build/Release/Tessaly.app/");
  EXPECT_THAT(fakes.calls.everything(), IsEmpty());  // not even where the Trash is
}

TEST_F(TrashOneItem, TakesReleaseForASwornNameInThatSpellingAndPlaceOnly) {
  expectTrashed("/home/u/build/release/Tessaly.app");
  expectTrashed("/home/u/build/Releases/Tessaly.app");
  expectTrashed("/home/u/build/Release.old/Tessaly.app");
  expectTrashed("/home/u/build/Release/bin/Tessaly.app");
  expectTrashed("/home/u/other/Release");
}

TEST_F(TrashOneItem, SkipsWhatLiesBelowStructureApplications) {
  expectSkipped("/Volumes/Disk/Structure/Applications/Tessaly.app");
  expectSkipped("/Structure/Applications/a/b/Tessaly.app");
  fakes.calls.clear();
  controller.trashFile("/Structure/Applications/Tessaly.app");
  EXPECT_THAT(fakes.calls.everything(), IsEmpty());
}

TEST_F(TrashOneItem, TakesStructureApplicationsToTheLetter) {
  expectTrashed("/Volumes/Disk/structure/Applications/Tessaly.app");
  expectTrashed("/Volumes/Disk/Structure/Applications2/Tessaly.app");
  expectTrashed("/Volumes/Disk/InfraStructure/Applications/Tessaly.app");
  expectTrashed("/Volumes/Disk/Structure/Applications");
}

TEST_F(TrashOneItem, SkipsWhatIsInTheTrashAlready) {
  expectSkipped("/home/u/.Trash/Tessaly.app");
  expectSkipped("/home/u/.Trash/folder/Tessaly.app");
}

TEST_F(TrashOneItem, ComparesTheTrashByTheBeginningOfThePath) {
  expectSkipped("/home/u/.Trashed/Tessaly.app");
  expectTrashed("/home/u/.Tras/Tessaly.app");
  expectTrashed("/home/v/.Trash/Tessaly.app");
  expectTrashed("/Volumes/home/u/.Trash/Tessaly.app");
}

TEST_F(TrashOneItem, KnowsTheConsoleUsersTrashAsRoot) {
  fakes.actAsRoot("u");
  expectSkipped("/home/u/.Trash/Tessaly.app");
  expectTrashed("/root/.Trash/Tessaly.app");
}

TEST_F(TrashOneItem, IsNotStoppedByTheLackOfATrash) {
  fakes.actAsRoot(std::nullopt);
  fakes.disk.addFile("/Applications/Tessaly.app");
  controller.trashFile("/Applications/Tessaly.app");
  EXPECT_EQ(fakes.calls.count("trash.recycle(/Applications, nil, Tessaly.app)"), 1U);
}

TEST_F(TrashOneItem, LooksForTheTrashBeforeItLooksForTheItem) {
  controller.trashFile("/Applications/Tessaly.app");
  EXPECT_THAT(fakes.calls.everything(), ElementsAre("users.realUserId()", "users.homeDirectory()",
                                                    "fileSystem.fileExists(/Applications/Tessaly.app)"));
}

TEST_F(TrashOneItem, CallsNobodyAndSaysNothingWhenTheItemIsMissing) {
  controller.trashFile("/Applications/Tessaly.app");
  controller.trashFile("");
  expectUntouched();
}

TEST_F(TrashOneItem, TakesALinkToNowhereForMissing) {
  fakes.disk.addLink("/Applications/Tessaly.app", "/nowhere");
  controller.trashFile("/Applications/Tessaly.app");
  expectUntouched();
  EXPECT_TRUE(fakes.disk.has("/Applications/Tessaly.app"));
}

TEST_F(TrashOneItem, TrashesALinkAndNotItsTarget) {
  fakes.disk.addFile("/opt/Tessaly.app/Contents/data", "kept");
  fakes.disk.addLink("/Applications/Tessaly.app", "/opt/Tessaly.app");
  controller.trashFile("/Applications/Tessaly.app");
  EXPECT_FALSE(fakes.disk.has("/Applications/Tessaly.app"));
  EXPECT_EQ(fakes.disk.fileContents("/opt/Tessaly.app/Contents/data"), "kept");
}

TEST_F(TrashOneItem, AsksForRightsWhenThePlainWayFails) {
  fakes.disk.addFolder("/home/u/.Trash");
  fakes.disk.addFile("/Applications/Tessaly.app", "data");
  fakes.calls.failNext("trash.recycle");
  controller.trashFile("/Applications/Tessaly.app");
  EXPECT_EQ(fakes.disk.fileContents("/home/u/.Trash/Tessaly.app"), "data");
}

// MARK: - Every call fails in turn

/// A machine, and a controller that outlives its threads.
struct Machine {
  Machine() {
    controller.connect(fakes.interface.outlets());
    fakes.interface.removeConfigCheck.setState(platform::kOnState);
  }
  ~Machine() { fakes.end(); }

  void run() {
    controller.uninstall(nullptr);
    const auto isOver = [this] { return fakes.calls.count("userInterface.terminate") > 0; };
    EXPECT_TRUE(fakes.mainThread.pumpUntil(isOver));
  }

  /// Every file is what and where it was, or whole in the Trash: once, and nothing else.
  void expectKept(const std::string& file, const std::string& name) {
    Strings places;
    for (const std::string& path : fakes.disk.tree()) {
      if (fakes.disk.fileContents(path) == file) places.push_back(path);
    }
    ASSERT_THAT(places, SizeIs(1)) << file;
    if (places[0] == file) return;
    EXPECT_TRUE(places[0].starts_with(kTrashFiles + "/") || places[0].starts_with("/home/u/.Trash/")) << places[0];
    EXPECT_NE(places[0].find(name), std::string::npos) << places[0];
  }

  void expectItemsKept(const std::vector<std::size_t>& items) {
    for (const std::size_t index : items) {
      const std::string name = kItems[index].substr(kItems[index].rfind('/') + 1);
      expectKept(witness(index), name.substr(0, name.rfind('.')));
    }
  }

  AppController controller;
  FakePlatform fakes;
  ScopedPlatform installed{fakes.platform};
  SingletonReset<QMAuthorization> authorization;
  SingletonReset<QMLog> log;
};

/// Runs a prepared uninstall once as it is and then once for each of its calls, which fails.
template <class Prepare, class Check>
void failEveryCallInTurn(std::size_t atLeast, const Prepare& prepare, const Check& check) {
  std::size_t count = 0;
  {
    Machine machine;
    prepare(machine);
    machine.run();
    count = machine.fakes.calls.callCount();
  }
  ASSERT_GE(count, atLeast);
  for (std::size_t number = 1; number <= count; ++number) {
    SCOPED_TRACE("call " + std::to_string(number));
    Machine machine;
    prepare(machine);
    machine.fakes.calls.failCallNumber(number);
    machine.run();
    check(machine);
    const Strings calls = machine.fakes.calls.everything();
    EXPECT_EQ(calls.back(), "userInterface.terminate(sender)");
    EXPECT_EQ(machine.fakes.calls.count("windowProgress.orderOut"), 1U);
    EXPECT_EQ(machine.fakes.calls.count("userInterface.runAlertPanel(Uninstall complete, Items have been placed in "
                                        "your Trash.)"),
              1U);
    EXPECT_EQ(machine.fakes.calls.count("userInterface.terminate"), 1U);
    EXPECT_THAT(machine.fakes.interface.record.offMainThread(), IsEmpty());
  }
}

TEST(UninstallUnderFailure, EndsInTheAlertAndLosesNothing) {
  const std::vector<std::size_t> all = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
  const auto prepare = [](Machine& machine) {
    installProduct(machine.fakes.disk);
    // Not the one in the maker's folder: a folder that cannot be listed counts as empty and goes.
    for (std::size_t index = 1; index < kNeighbours.size(); ++index) {
      machine.fakes.disk.addFile(kNeighbours[index], kNeighbours[index]);
    }
  };
  failEveryCallInTurn(60, prepare, [&](Machine& machine) {
    machine.expectItemsKept(all);
    for (std::size_t index = 1; index < kNeighbours.size(); ++index) {
      EXPECT_EQ(machine.fakes.disk.fileContents(kNeighbours[index]), kNeighbours[index]);
    }
  });
}

TEST(UninstallUnderFailure, LosesNothingWithAdministratorRights) {
  const std::vector<std::size_t> differentNames = {1, 2, 3, 8, 9, 10, 11};
  const auto prepare = [&](Machine& machine) {
    for (const std::size_t index : differentNames) installItem(machine.fakes.disk, index);
    machine.fakes.disk.addFolder("/home/u/.Trash");
    machine.fakes.calls.failAlways("trash.recycle");
  };
  failEveryCallInTurn(60, prepare, [&](Machine& machine) { machine.expectItemsKept(differentNames); });
}

TEST(UninstallUnderFailure, EndsInTheAlertWithoutTheToolThatStopsTheProduct) {
  const auto prepare = [](Machine& machine) {
    machine.fakes.disk.remove("/usr/bin/killall");
    machine.fakes.disk.addFile("/home/u/Library/Logs/Quillmark/Demo.1.log");
    installItem(machine.fakes.disk, 1);
  };
  failEveryCallInTurn(20, prepare, [](Machine& machine) { machine.expectItemsKept({1}); });
}

}  // namespace
}  // namespace qm::testing
