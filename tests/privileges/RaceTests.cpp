// SPDX-License-Identifier: MIT

// Somebody swaps folders for links while root's tools work in them.

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "tests/privileges/LaunchMachine.h"
#include "tests/privileges/Race.h"
#include "tests/privileges/Swapper.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using race::home;
using race::precious;
using race::source;

constexpr int kToolRounds = 400;

class SwappedFolder : public ::testing::Test {
 protected:
  // "precious" is root's: a folder "sub" with a file "item" in it, and a folder of each name that is worked on.
  // "home/folder" and "home/link" are exchanged continuously.
  static void run(const std::function<void(Race&)>& work) {
    runInPrivateMachine([&] {
      build();
      race(testName(), work);
    });
  }

  // The same on a kernel without Landlock.
  static void runUnconfined(const std::function<void(Race&)>& work) {
    runInPrivateMachine([&] {
      build();
      inChild([&] {
        failSystemCall(SYS_landlock_create_ruleset, ENOSYS);
        race(testName(), work);
      });
    });
  }

  // A folder is put where nothing is yet.
  static std::string newPlace() {
    static int number = 0;
    return home() + "/folder/tree " + std::to_string(++number);
  }

  static void copyToAndFro(Race& race) {
    if (!exists(source() + "/tree")) makeFolder(source() + "/tree");
    if (!exists(source() + "/tree/file")) makeFile(source() + "/tree/file", "copied");
    race.attempt("/bin/cp", {"-f", "-p", "-R", source() + "/tree/file", home() + "/folder/file"});
    race.attempt("/bin/cp", {"-f", "-p", "-R", source() + "/tree", newPlace()});
  }

  static void moveFromAnotherVolume(Race& race) {
    makeFolder(source() + "/tree");
    makeFile(source() + "/tree/file", "moved");
    race.attempt("/bin/mv", {"-f", source() + "/tree", newPlace()});
    launch("/bin/rm", {"-Rdf", source() + "/tree"});
  }

  static void copyATreeWithIt(Race& race) {
    const std::string copy = machineFolder() + "/volume/copy";
    race.attempt("/bin/cp", {"-f", "-p", "-R", home(), copy});
    if (exists(copy)) {
      EXPECT_EQ(launch("/usr/bin/find", {copy, "-name", "item"}).output, "");
      launch("/bin/rm", {"-Rdf", copy});
    }
  }

 private:
  static void build() {
    race::build();
    makeFolder(home() + "/folder", kPerson);
    makeLink(home() + "/link", precious(), kPerson);
  }

  static void race(const std::string& name, const std::function<void(Race&)>& work) {
    const std::string before = race::listing(precious());
    const Swapper swapper(kPerson, home() + "/folder", home() + "/link");
    Race race(name, kToolRounds, [&] { return swapper.swaps(); });
    race.run([&] { work(race); });
    EXPECT_EQ(race::listing(precious()), before) << "after " << race.numbers();
  }
};

TEST_F(SwappedFolder, LeadsNoMoveElsewhere) {
  run([](Race& race) {
    makeFile(machineFolder() + "/moved", "moved");
    race.attempt("/bin/mv", {"-f", machineFolder() + "/moved", home() + "/folder/moved"});
    race.attempt("/bin/mv", {"-f", home() + "/folder/file", machineFolder() + "/taken"});
    ::unlink((machineFolder() + "/moved").c_str());
    ASSERT_FALSE(exists(machineFolder() + "/taken"));
  });
}

TEST_F(SwappedFolder, LeadsNoMoveFromAnotherVolumeElsewhere) { run(moveFromAnotherVolume); }

TEST_F(SwappedFolder, LeadsNoMoveFromAnotherVolumeElsewhereUnconfined) { runUnconfined(moveFromAnotherVolume); }

TEST_F(SwappedFolder, LeadsNoRemovalElsewhere) {
  run([](Race& race) {
    race.attempt("/bin/rm", {"-Rdf", home() + "/folder/item"});
    race.attempt("/bin/rm", {"-Rdf", home() + "/folder/sub/file"});
  });
}

TEST_F(SwappedFolder, LeadsNoCopyElsewhere) { run(copyToAndFro); }

TEST_F(SwappedFolder, LeadsNoCopyElsewhereUnconfined) { runUnconfined(copyToAndFro); }

TEST_F(SwappedFolder, LeadsNoNewFolderElsewhere) {
  run([](Race& race) { race.attempt("/bin/mkdir", {"-p", home() + "/folder/new/newer"}); });
}

// The folder is inside what is moved, copied and removed: the tool itself encounters it.
TEST_F(SwappedFolder, InsideATreeLeadsNoToolElsewhere) { run(copyATreeWithIt); }

TEST_F(SwappedFolder, InsideATreeLeadsNoToolElsewhereUnconfined) { runUnconfined(copyATreeWithIt); }

}  // namespace
}  // namespace qm::testing
