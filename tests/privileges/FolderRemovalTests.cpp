// SPDX-License-Identifier: MIT

// The maker's folder, removed by root: only what nobody misses is ever removed.

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/privileges/TrashMachine.h"

namespace qm::testing {
namespace {

class FolderOfTheMaker : public TrashMachine {
 protected:
  static std::string maker() { return applications() + "/Quillmark"; }
  static Outcome remove() { return removeIfHollow(maker()); }

  static void expectItStays(const std::string& inTheWay) {
    const Outcome outcome = remove();
    EXPECT_NE(outcome.waitStatus, 0);
    EXPECT_NE(outcome.note.find(inTheWay), std::string::npos) << outcome.note;
  }
};

TEST_F(FolderOfTheMaker, GoesWithItsHousekeeping) {
  run([] {
    makeFolder(maker());
    makeFolder(maker() + "/empty", 0, 0700);
    makeFile(maker() + "/.DS_Store", "");
    makeFile(maker() + "/empty/Icon\r", "");
    EXPECT_TRUE(remove().succeeded());
    EXPECT_FALSE(exists(maker()));
  });
}

TEST_F(FolderOfTheMaker, StaysWithAnotherProduct) {
  run([] {
    makeFolder(maker());
    makeBundle(maker() + "/Orvendel.app");
    makeFile(maker() + "/.DS_Store", "layout");
    expectItStays("Directory not empty");
    EXPECT_EQ(contentsOf(maker() + "/Orvendel.app/Contents/secret"), "secret");
    EXPECT_EQ(contentsOf(maker() + "/.DS_Store"), "layout") << "nothing goes before all has been looked at";
  });
}

TEST_F(FolderOfTheMaker, StaysWithWhatThePersonCannotSee) {
  run([] {
    makeFolder(maker());
    makeFolder(maker() + "/licences", 0, 0700);
    makeFile(maker() + "/licences/key", "licence", 0, 0600);
    expectItStays("key");
    EXPECT_EQ(contentsOf(maker() + "/licences/key"), "licence");
  });
}

TEST_F(FolderOfTheMaker, StaysWithAVolumeMountedInIt) {
  run([] {
    makeFolder(maker());
    mountTmpfs(maker() + "/volume", "mode=0700");
    expectItStays("Device or resource busy");
    EXPECT_TRUE(exists(maker() + "/volume"));
  });
}

TEST_F(FolderOfTheMaker, StaysWithAFullFolderThatHasTheNameOfHousekeeping) {
  run([] {
    makeFolder(maker());
    makeFolder(maker() + "/.DS_Store");
    makeFile(maker() + "/.DS_Store/data", "data");
    expectItStays("data");
    EXPECT_EQ(contentsOf(maker() + "/.DS_Store/data"), "data");
  });
}

TEST_F(FolderOfTheMaker, GoesWithAnyToolOnlyIfNothingIsInItWhereThatIsMeant) {
  run([] {
    makeFolder(maker());
    makeFolder(maker() + "/licences", 0, 0700);
    makeFile(maker() + "/licences/key", "licence", 0, 0600);
    const Outcome stays = launch("/bin/rm", {"--if-hollow", maker()});
    EXPECT_TRUE(stays.started());
    EXPECT_NE(stays.waitStatus, 0);
    EXPECT_EQ(contentsOf(maker() + "/licences/key"), "licence");
    ASSERT_EQ(::unlink((maker() + "/licences/key").c_str()), 0);
    EXPECT_TRUE(launch("/bin/rm", {"--if-hollow", maker()}).succeeded());
    EXPECT_FALSE(exists(maker()));
  });
}

TEST_F(FolderOfTheMaker, IsTheOnlyOneThatIsMeantAtATime) {
  run([] {
    EXPECT_EQ(launch("/bin/rm", {"--if-hollow", maker(), maker()}).reason, "--if-hollow takes one path");
    EXPECT_EQ(launch("/bin/mv", {"--if-hollow", maker(), maker()}).reason,
              "--if-hollow is neither an absolute path nor a known option of mv");
  });
}

TEST_F(FolderOfTheMaker, IsNoFailureWhereItIsMissing) {
  run([] { EXPECT_TRUE(remove().succeeded()); });
}

TEST_F(FolderOfTheMaker, IsNotRemovedWhereALinkHasItsName) {
  run([] {
    makeFolder(machineFolder() + "/elsewhere");
    makeLink(maker(), machineFolder() + "/elsewhere");
    EXPECT_EQ(remove().error, ENOTDIR);
    EXPECT_TRUE(exists(machineFolder() + "/elsewhere"));
    EXPECT_TRUE(isLink(maker()));
  });
}

}  // namespace
}  // namespace qm::testing
