// SPDX-License-Identifier: MIT

// A user swaps the parts of their own Trash for links while root moves items there.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Platform/posix/UniqueFd.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/Race.h"
#include "tests/privileges/Swapper.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;
using race::home;
using race::precious;

constexpr int kTrashRounds = 300;

// "link" leads to a root-owned item that looks the same as the part it is exchanged with.
class SwappedPartOfTheTrash : public ::testing::Test {
 protected:
  static void run(const std::string& part, const std::string& likeness) {
    const std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    runInPrivateMachine([&] {
      race::build();
      race::buildTrash();
      for (const char* folder : {"/Trash", "/Trash/files", "/Trash/info"}) makeFolder(precious() + folder);
      makeFolder(machineFolder() + "/applications");
      makeLink(home() + "/link", precious() + likeness, kPerson);
      moveAgainst(part, name);
    });
  }

 private:
  static void moveAgainst(const std::string& part, const std::string& name) {
    const UniqueFd files(::open((race::trash() + "/files").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_TRUE(files);
    const std::string before = race::listing(precious());
    const Swapper swapper(kPerson, home() + part, home() + "/link");
    Race race(name, kTrashRounds, [&] { return swapper.swaps(); });
    int number = 0;
    race.run([&] {
      ++number;
      const std::string folder = number % 2 == 0 ? machineFolder() + "/applications" : race::source();
      moveOne(race, files.get(), folder, "item " + std::to_string(number));
    });
    EXPECT_EQ(race::listing(precious()), before) << "after " << race.numbers();
  }

  // It is in one of the two locations, whether they are on one volume or not.
  static void moveOne(Race& race, int files, const std::string& folder, const std::string& name) {
    const std::string item = folder + "/" + name;
    makeFolder(item);
    makeFile(item + "/file", name);
    race.attempt("/bin/mv", {"-f", item, home() + "/.Trash/" + name});
    const bool inTheTrash = ::faccessat(files, (name + "/file").c_str(), F_OK, 0) == 0;
    ASSERT_NE(inTheTrash, exists(item + "/file")) << name << " after " << race.numbers();
  }
};

TEST_F(SwappedPartOfTheTrash, LinkToItLeadsNowhereElse) { run("/.Trash", "/Trash/files"); }

TEST_F(SwappedPartOfTheTrash, FolderOfItLeadsNowhereElse) { run("/.local/share/Trash", "/Trash"); }

TEST_F(SwappedPartOfTheTrash, FolderOfItsFilesLeadsNowhereElse) { run("/.local/share/Trash/files", "/Trash/files"); }

TEST_F(SwappedPartOfTheTrash, FolderOfItsDescriptionsLeadsNowhereElse) {
  run("/.local/share/Trash/info", "/Trash/info");
}

}  // namespace
}  // namespace qm::testing
