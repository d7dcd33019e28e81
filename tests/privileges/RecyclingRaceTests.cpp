// SPDX-License-Identifier: MIT

// Root moves items to the Trash of the user at the console, who meanwhile swaps folders for links.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Platform/linux/trash/FreedesktopTrash.h"
#include "Platform/posix/UniqueFd.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/WorkForSomebody.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;
using race::home;
using race::precious;

class Recycling : public WorkForSomebody {
 protected:
  // A root-owned item is moved to the Trash, a part of which is swapped.
  static void run(const std::string& part, const std::string& likeness) {
    const std::string name = testName();
    WorkForSomebody::run([&](FakePlatform& fakes) {
      for (const char* folder : {"/Trash", "/Trash/files", "/Trash/info"}) makeFolder(precious() + folder);
      makeFolder(machineFolder() + "/applications");
      const UniqueFd files(::open((race::trash() + "/files").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
      int number = 0;
      raceAgainstSwaps(name, part, precious() + likeness,
                       [&](Race& race) { recycleOne(race, fakes, files.get(), "item " + std::to_string(++number)); });
    });
  }

  static bool recycle(FakePlatform& fakes, const std::string& folder, const std::string& name) {
    // Each time as at the beginning of a run.
    linux_::FreedesktopTrash trash(fakes.users, fakes.clock, kProduct.workFolderPrefix);
    return trash.recycle(folder, home() + "/.Trash", {name}).ok();
  }

 private:
  // It is in one of the two locations.
  static void recycleOne(Race& race, FakePlatform& fakes, int files, const std::string& name) {
    const std::string folder = machineFolder() + "/applications";
    makeFile(folder + "/" + name, name);
    race.attempt([&] { return recycle(fakes, folder, name); });
    const bool inTheTrash = ::faccessat(files, name.c_str(), F_OK, 0) == 0;
    ASSERT_NE(inTheTrash, exists(folder + "/" + name)) << name << " after " << race.numbers();
  }
};

TEST_F(Recycling, IsLedNowhereElseByTheLinkToTheTrash) { run("/.Trash", "/Trash/files"); }

TEST_F(Recycling, IsLedNowhereElseByTheTrash) { run("/.local/share/Trash", "/Trash"); }

TEST_F(Recycling, IsLedNowhereElseByTheFilesOfTheTrash) { run("/.local/share/Trash/files", "/Trash/files"); }

// The user's own file and root's have the same name.
TEST_F(Recycling, TakesNothingOfRootsFromASwappedFolder) {
  const std::string name = testName();
  WorkForSomebody::run([&](FakePlatform& fakes) {
    const UniqueFd own(::open((home() + "/Library/Logs").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string ownFile = "/proc/self/fd/" + std::to_string(own.get()) + "/file";
    const std::string trashed = race::trash() + "/files/file";
    raceAgainstSwaps(name, "/Library/Logs", precious(), [&](Race& race) {
      makeFile(ownFile, "own", kPerson);
      race.attempt([&] { return recycle(fakes, home() + "/Library/Logs", "file"); });
      ASSERT_NE(exists(trashed), exists(ownFile)) << race.numbers();
      if (!exists(trashed)) return;
      ASSERT_EQ(contentsOf(trashed), "own") << race.numbers();
      for (const char* part : {"/files/file", "/info/file.trashinfo"}) ::unlink((race::trash() + part).c_str());
    });
  });
}

}  // namespace
}  // namespace qm::testing
