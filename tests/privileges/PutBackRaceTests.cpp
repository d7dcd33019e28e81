// SPDX-License-Identifier: MIT

// Root puts items back from the Trash of the user at the console, who meanwhile swaps things for links.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "Platform/linux/trash/FreedesktopTrash.h"
#include "Platform/posix/UniqueFd.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/Swapper.h"
#include "tests/privileges/WorkForSomebody.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;
using race::home;
using race::precious;
using race::trash;

constexpr int kMountRounds = 300;

/// The item "item", a folder with the file "sub/file", is put into the Trash again before each attempt, by descriptors
/// that no swap redirects.
class PuttingBack : public WorkForSomebody {
 protected:
  /// `part` of the home is swapped for a link to `likeness`, which is root's; the item goes back to `place`, on this
  /// volume or another.
  static void run(const std::string& part, const std::string& likeness, std::string (*placeOnMachine)()) {
    const std::string name = testName();
    WorkForSomebody::run([&](FakePlatform& fakes) {
      build();
      const std::string place = placeOnMachine();
      const UniqueFd folder(::open(place.substr(0, place.rfind('/')).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      const std::string held = pathOf(folder) + "/item";
      const UniqueFd files(::open((trash() + "/files").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      const UniqueFd info(::open((trash() + "/info").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      makeItem(pathOf(files) + "/item");
      describe(info, place);
      raceAgainstSwaps(name, part, precious() + likeness, [&](Race& race) {
        race.attempt([&] { return putBack(fakes, place); });
        expectWholeOrNothing(held, race);
        if (exists(held)) returnToTrash(place, held, files, info);
      });
    });
  }

  /// A volume with a root-owned file is continuously mounted over the folder "sub" of the item and unmounted again.
  static void runAgainstMounts() {
    const std::string name = testName();
    WorkForSomebody::run([&](FakePlatform& fakes) {
      build();
      const UniqueFd files(::open((trash() + "/files").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      const UniqueFd info(::open((trash() + "/info").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
      makeItem(trash() + "/files/item");
      describe(info, onVolume());
      const std::string before = race::listing(precious());
      const Mounter mounter(precious() + "/sub", trash() + "/files/item/sub");
      Race race(name, kMountRounds, [&] { return mounter.mounts(); });
      race.run([&] {
        race.attempt([&] { return putBack(fakes, onVolume()); });
        if (!exists(onVolume())) return;
        ASSERT_EQ(contentsOf(onVolume() + "/sub/file"), "own") << race.numbers();
        returnToTrash(onVolume(), onVolume(), files, info);
      });
      EXPECT_EQ(race::listing(precious()), before) << race.numbers();
    });
  }

  static std::string applications() { return machineFolder() + "/applications/item"; }
  static std::string atHome() { return home() + "/Library/Logs/item"; }
  static std::string onVolume() { return race::source() + "/item"; }

 private:
  // Root-owned items that resemble the swapped parts. Their mode bits show whether anybody dropped them.
  static void build() {
    makeFolder(machineFolder() + "/applications");
    for (const char* folder : {"/Trash", "/Trash/files", "/Trash/info", "/Trash/files/item"}) {
      makeFolder(precious() + folder);
    }
    makeFile(precious() + "/sub/file", "precious", 0, 04755);
    makeFile(precious() + "/Trash/info/item.trashinfo", "[Trash Info]\nPath=" + applications() + "\n");
  }

  static void makeItem(const std::string& path) {
    makeFolder(path, kPerson);
    makeFolder(path + "/sub", kPerson);
    makeFile(path + "/sub/file", "own", kPerson);
  }

  static void describe(const UniqueFd& info, const std::string& place) {
    makeFile(pathOf(info) + "/item.trashinfo", "[Trash Info]\nPath=" + place + "\n", kPerson);
  }

  static std::string pathOf(const UniqueFd& folder) { return "/proc/self/fd/" + std::to_string(folder.get()); }

  // Each time as at the beginning of a run.
  static bool putBack(FakePlatform& fakes, const std::string& place) {
    linux_::FreedesktopTrash trash(fakes.users, fakes.clock, kProduct.workFolderPrefix);
    const auto found = trash.itemsFrom(place, home() + "/.Trash");
    return !found.items.empty() &&
           trash.putBack(found.items.front(), home() + "/.Trash", platform::MissingFolders::Fail).ok();
  }

  static void expectWholeOrNothing(const std::string& place, const Race& race) {
    struct stat found {};
    if (::lstat(place.c_str(), &found) != 0) return;
    ASSERT_TRUE(S_ISDIR(found.st_mode)) << "a link of the person's, after " << race.numbers();
    ASSERT_EQ(found.st_uid, kPerson) << race.numbers();
  }

  static void returnToTrash(const std::string& place, const std::string& held, const UniqueFd& files,
                            const UniqueFd& info) {
    if (place.starts_with(race::source())) {
      launch("/bin/rm", {"-rf", place});
      makeItem(machineFolder() + "/spare");
    }
    const std::string from = exists(held) ? held : machineFolder() + "/spare";
    ASSERT_EQ(::renameat(AT_FDCWD, from.c_str(), files.get(), "item"), 0);
    describe(info, place);
  }
};

TEST_F(PuttingBack, PutsNoLinkOfThePersonsIntoAFolderOfRoots) {
  run("/.local/share/Trash/files/item", "/item", applications);
}

TEST_F(PuttingBack, CopiesNoLinkOfThePersonsIntoAFolderOfRoots) {
  run("/.local/share/Trash/files/item", "/item", onVolume);
}

TEST_F(PuttingBack, TakesNothingOfRootsFromASwappedFolderOfFiles) {
  run("/.local/share/Trash/files", "/Trash/files", applications);
}

TEST_F(PuttingBack, TakesNothingOfRootsFromASwappedTrash) { run("/.local/share/Trash", "/Trash", applications); }

TEST_F(PuttingBack, IsLedNowhereElseByTheLinkToTheTrash) { run("/.Trash", "/Trash/files", applications); }

TEST_F(PuttingBack, RemovesNothingOfRootsFromASwappedFolderOfDescriptions) {
  run("/.local/share/Trash/info", "/Trash/info", applications);
}

TEST_F(PuttingBack, ChangesNothingOfRootsThroughASwappedPartOfTheItem) {
  run("/.local/share/Trash/files/item/sub", "/sub", applications);
}

TEST_F(PuttingBack, CopiesNothingThatIsMountedMeanwhile) { runAgainstMounts(); }

TEST_F(PuttingBack, PutsNothingIntoAFolderOfRootsBehindASwappedLink) { run("/Library/Logs", "", atHome); }

}  // namespace
}  // namespace qm::testing
