// SPDX-License-Identifier: MIT
#include <type_traits>

#include "tests/unit/uninstaller/AppControllerTest.h"

namespace qm::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

template <class Path>
concept IsTrashablePath = requires(AppController controller, Path path) {
  controller.trashFile(path);
};
static_assert(IsTrashablePath<std::string> && IsTrashablePath<const char*> && IsTrashablePath<std::nullopt_t>);
static_assert(!IsTrashablePath<std::nullptr_t>, "a null pointer is no path");

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
    fakes.interface.removeConfigCheck.setState(uninstaller::kOnState);
  }
  ~Machine() { fakes.end(); }

  void run() {
    controller.uninstall(nullptr);
    const auto isOver = [this] { return fakes.calls.count("userInterface.terminate") > 0; };
    EXPECT_TRUE(fakes.mainThread.pumpUntil(isOver));
  }

  /// Every file is unchanged at its path, or whole in the Trash: once, and nothing else.
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

/// Runs a prepared uninstall once as it is and then once for each of its calls, which is made to fail.
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
    // All except the one in the maker's folder.
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

/// A folder that cannot be listed counts as empty, so such a call lets the removal begin; the removal checks for
/// itself.
TEST(UninstallUnderFailure, SparesAnotherProductWhicheverCallFails) {
  const std::string& other = kNeighbours[0];
  const auto prepare = [&](Machine& machine) {
    installItem(machine.fakes.disk, 0);
    machine.fakes.disk.addFile(other, other);
  };
  std::size_t listingsThatFailed = 0;
  failEveryCallInTurn(20, prepare, [&](Machine& machine) {
    machine.expectItemsKept({0});
    EXPECT_EQ(machine.fakes.disk.fileContents(other), other);
    if (machine.fakes.calls.count("fileSystem.removeHollowFolder") > 0) ++listingsThatFailed;
  });
  EXPECT_EQ(listingsThatFailed, 3U);  // the maker's folder and two in it
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
