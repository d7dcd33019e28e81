// SPDX-License-Identifier: MIT

// Items that root moves to a user's Trash: their state there, and what happens when the move is not possible.

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "tests/privileges/TrashMachine.h"

namespace qm::testing {
namespace {

class ItemInTheTrash : public TrashMachine {};

TEST_F(ItemInTheTrash, IsDescribedAsThePersonsOwn) {
  run([] {
    makeBundle(applications() + "/100 % Tessaly.app");
    EXPECT_TRUE(trashItem("100 % Tessaly.app").succeeded());
    const std::string info = trash() + "/info/100 % Tessaly.app.trashinfo";
    EXPECT_EQ(originIn(contentsOf(info)), "[Trash Info]\nPath=" + applications() + "/100%20%25%20Tessaly.app");
    EXPECT_EQ(ownerOf(info), kPerson);
    EXPECT_EQ(modeOf(info), 0600U);
    EXPECT_EQ(namesIn(files()), std::vector<std::string>{"100 % Tessaly.app"});
    EXPECT_FALSE(exists(applications() + "/100 % Tessaly.app"));
    expectNoLeftovers();
  });
}

TEST_F(ItemInTheTrash, GetsANumberWhereItsNameIsTaken) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_EQ(trashItem("Tessaly.app").note,
              applications() + "/Tessaly.app: \"Tessaly.app\" is taken; it is now: Tessaly 2.app");
    EXPECT_EQ(namesIn(files()), (std::vector<std::string>{"Tessaly 2.app", "Tessaly.app"}));
    EXPECT_EQ(namesIn(files() + "/Tessaly.app"), std::vector<std::string>{"Contents"});
    EXPECT_EQ(contentsOf(files() + "/Tessaly 2.app/Contents/secret"), "secret");
    EXPECT_EQ(originIn(infoOf("Tessaly 2.app")), "[Trash Info]\nPath=" + applications() + "/Tessaly.app");
    expectNoLeftovers();
  });
}

TEST_F(ItemInTheTrash, IsNeverPutBehindALinkOfItsName) {
  run([] {
    makeFolder(home() + "/dev", kPerson);
    makeLink(files() + "/Tessaly.app", home() + "/dev", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_EQ(trashItem("Tessaly.app").waitStatus, 0);
    EXPECT_EQ(namesIn(home() + "/dev"), std::vector<std::string>{});
    EXPECT_TRUE(exists(files() + "/Tessaly 2.app/Contents/secret"));
  });
}

TEST_F(ItemInTheTrash, LeavesADescriptionOfItsNameAlone) {
  run([] {
    // Somebody is about to move an item there, or has deleted one and left this.
    makeFile(trash() + "/info/Tessaly.app.trashinfo", "[Trash Info]\nPath=/old\n", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_EQ(trashItem("Tessaly.app").waitStatus, 0);
    EXPECT_EQ(infoOf("Tessaly.app"), "[Trash Info]\nPath=/old\n");
    EXPECT_EQ(namesIn(files()), std::vector<std::string>{"Tessaly 2.app"});
  });
}

TEST_F(ItemInTheTrash, StaysAtItsPlaceWhenAllNumbersAreTaken) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    makeFile(files() + "/Tessaly.app", "", kPerson);
    for (int number = 2; number <= 64; ++number) {
      makeFile(files() + "/Tessaly " + std::to_string(number) + ".app", "", kPerson);
    }
    const Outcome outcome = trashItem("Tessaly.app");
    EXPECT_NE(outcome.waitStatus, 0);
    EXPECT_EQ(outcome.note, applications() + "/Tessaly.app: File exists");
    EXPECT_EQ(contentsOf(applications() + "/Tessaly.app/Contents/secret"), "secret");
    EXPECT_EQ(namesIn(trash() + "/info"), std::vector<std::string>{});
    expectNoLeftovers();
  });
}

TEST_F(ItemInTheTrash, IsDescribedUnderAShorterNameWhereItsOwnIsTooLong) {
  run([] {
    const std::string name(250, 'n');
    makeFolder(applications() + "/" + name);
    const std::string stored(245, 'n');
    EXPECT_EQ(trashItem(name).waitStatus, 0);
    EXPECT_TRUE(exists(files() + "/" + stored));
    EXPECT_EQ(originIn(infoOf(stored)), "[Trash Info]\nPath=" + applications() + "/" + name);
  });
}

TEST_F(ItemInTheTrash, MayBeAFile) {
  run([] {
    makeFile(applications() + "/settings.plist", "settings", 0, 0600);
    EXPECT_TRUE(trashItem("settings.plist").succeeded());
    EXPECT_TRUE(exists(trash() + "/info/settings.plist.trashinfo"));
    EXPECT_EQ(ownerOf(files() + "/settings.plist"), 0U);
    asUser(kPerson, kPerson, [] { EXPECT_EQ(::unlink((files() + "/settings.plist").c_str()), 0); });
  });
}

TEST_F(ItemInTheTrash, MayBeALinkToNowhere) {
  run([] {
    makeLink(applications() + "/Tessaly.app", "/nowhere");
    EXPECT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_TRUE(isLink(files() + "/Tessaly.app"));
  });
}

TEST_F(ItemInTheTrash, ComesFromAnotherVolume) {
  run([] {
    mountTmpfs(machineFolder() + "/volume", "mode=0755");
    makeBundle(machineFolder() + "/volume/Tessaly.app");
    EXPECT_TRUE(trashPath(machineFolder() + "/volume/Tessaly.app").succeeded());
    EXPECT_EQ(ownerOf(files() + "/Tessaly.app/Contents"), kPerson);
    EXPECT_EQ(contentsOf(files() + "/Tessaly.app/Contents/secret"), "secret");
    EXPECT_EQ(modeOf(files() + "/Tessaly.app/Contents/tool"), 0755U);
    EXPECT_EQ(originIn(infoOf("Tessaly.app")), "[Trash Info]\nPath=" + machineFolder() + "/volume/Tessaly.app");
    EXPECT_EQ(namesIn(machineFolder() + "/volume"), std::vector<std::string>{});
    expectNoLeftovers();
  });
}

// MARK: - Which Trash

TEST_F(ItemInTheTrash, GoesWhereTheLinkOfThePersonLeadsIfThatIsATrash) {
  run([] {
    const std::string other = home() + "/data/Trash";
    makeFolder(home() + "/data", kPerson);
    for (const std::string& folder : {other, other + "/files", other + "/info"}) makeFolder(folder, kPerson, 0700);
    ASSERT_EQ(::unlink((home() + "/.Trash").c_str()), 0);
    makeLink(home() + "/.Trash", other + "/files", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_TRUE(exists(other + "/files/Tessaly.app/Contents"));
    EXPECT_TRUE(exists(other + "/info/Tessaly.app.trashinfo"));
    expectEmptyTrash();
  });
}

TEST_F(ItemInTheTrash, GoesToTheHomeTrashWhereTheLinkLeadsElsewhere) {
  run([] {
    makeFolder(machineFolder() + "/system");
    makeFolder(machineFolder() + "/others", kOther, 0777);
    makeFolder(home() + "/plain", kPerson);
    for (const std::string& target : {machineFolder() + "/system", machineFolder() + "/others", home() + "/plain"}) {
      ASSERT_EQ(::unlink((home() + "/.Trash").c_str()), 0);
      makeLink(home() + "/.Trash", target, kPerson);
      makeBundle(applications() + "/Tessaly.app");
      EXPECT_EQ(trashItem("Tessaly.app").waitStatus, 0) << target;
      EXPECT_EQ(namesIn(target), std::vector<std::string>{}) << "nothing of root's is put where a link leads";
    }
    EXPECT_EQ(namesIn(files()).size(), 3U);
    EXPECT_EQ(namesIn(trash() + "/info").size(), 3U);
  });
}

TEST_F(ItemInTheTrash, GoesToTheHomeTrashWhereAPlainFolderHasTheLinksName) {
  run([] {
    ASSERT_EQ(::unlink((home() + "/.Trash").c_str()), 0);
    makeFolder(home() + "/.Trash", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(namesIn(home() + "/.Trash"), std::vector<std::string>{});
    EXPECT_TRUE(exists(trash() + "/info/Tessaly.app.trashinfo"));
  });
}

TEST_F(ItemInTheTrash, StaysAtItsPlaceWhereTheTrashIsNoneOfThePersons) {
  run([] {
    ASSERT_EQ(::chown((trash() + "/info").c_str(), kOther, kOther), 0);
    makeBundle(applications() + "/Tessaly.app");
    const Outcome outcome = trashItem("Tessaly.app");
    EXPECT_EQ(outcome.error, EPERM) << "refused before anything is done";
    EXPECT_NE(outcome.reason.find("belongs to somebody else"), std::string::npos) << outcome.reason;
    EXPECT_TRUE(exists(applications() + "/Tessaly.app"));
    EXPECT_EQ(namesIn(files()), std::vector<std::string>{});
  });
}

TEST_F(ItemInTheTrash, StaysAtItsPlaceWhereTheTrashIsALinkOfThePersons) {
  run([] {
    makeFolder(machineFolder() + "/system");
    ASSERT_EQ(::rename(trash().c_str(), (home() + "/elsewhere").c_str()), 0);
    makeLink(trash(), machineFolder() + "/system", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_NE(trashItem("Tessaly.app").error, 0);
    EXPECT_EQ(namesIn(machineFolder() + "/system"), std::vector<std::string>{});
    EXPECT_TRUE(exists(applications() + "/Tessaly.app"));
  });
}

// MARK: - What is refused

TEST_F(ItemInTheTrash, IsRefusedWhereItIsMissing) {
  run([] {
    EXPECT_EQ(trashItem("missing").error, ENOENT);
    expectEmptyTrash();
  });
}

TEST_F(ItemInTheTrash, IsRefusedWithAVolumeMountedInIt) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    mountTmpfs(applications() + "/Tessaly.app/volume", "mode=0700");
    makeFile(applications() + "/Tessaly.app/volume/data", "data");
    const Outcome outcome = trashItem("Tessaly.app");
    EXPECT_EQ(outcome.error, EBUSY);
    EXPECT_EQ(outcome.reason, applications() + "/Tessaly.app: a volume is mounted in it");
    EXPECT_EQ(contentsOf(applications() + "/Tessaly.app/volume/data"), "data");
    expectEmptyTrash();
  });
}

TEST_F(ItemInTheTrash, IsRefusedWhereItIsAVolume) {
  run([] {
    mountTmpfs(applications() + "/Tessaly.app", "mode=0755");
    EXPECT_EQ(trashItem("Tessaly.app").error, EBUSY);
    expectEmptyTrash();
  });
}

TEST_F(ItemInTheTrash, IsRefusedWhereTheTrashIsInIt) {
  run([] {
    const Outcome outcome = launch("/bin/mv", {"-f", home() + "/.local", home() + "/.Trash/local"});
    EXPECT_EQ(outcome.error, EINVAL);
    EXPECT_EQ(outcome.reason, home() + "/.local: the Trash itself is in it");
  });
}

TEST_F(ItemInTheTrash, IsRefusedWhereItIsAlreadyThere) {
  run([] {
    makeFile(files() + "/item", "", kPerson);
    const Outcome outcome = launch("/bin/mv", {"-f", files() + "/item", home() + "/.Trash/item"});
    EXPECT_EQ(outcome.reason, files() + "/item: it is already in the Trash");
    EXPECT_TRUE(exists(files() + "/item"));
  });
}

TEST_F(ItemInTheTrash, IsRefusedAcrossVolumesWhereTheKernelConfinesNothing) {
  run([] {
    mountTmpfs(machineFolder() + "/volume", "mode=0755");
    makeBundle(machineFolder() + "/volume/Tessaly.app");
    makeBundle(applications() + "/Tessaly.app");
    inChild([] {
      failSystemCall(SYS_landlock_create_ruleset, ENOSYS);
      EXPECT_EQ(trashPath(machineFolder() + "/volume/Tessaly.app").error, ENOTSUP);
      EXPECT_TRUE(trashItem("Tessaly.app").succeeded()) << "on one volume it is one step";
    });
    EXPECT_TRUE(exists(machineFolder() + "/volume/Tessaly.app/Contents/secret"));
    EXPECT_EQ(namesIn(files()), std::vector<std::string>{"Tessaly.app"});
  });
}

TEST_F(ItemInTheTrash, IsRefusedThroughALinkThatThePersonPlanted) {
  run([] {
    makeFolder(home() + "/Library", kPerson);
    makeFolder(machineFolder() + "/others", kOther);
    makeFolder(machineFolder() + "/others/item", kOther);
    makeLink(home() + "/Library/Caches", machineFolder() + "/others", kPerson);
    EXPECT_EQ(trashPath(home() + "/Library/Caches/item").error, ELOOP);
    EXPECT_TRUE(exists(machineFolder() + "/others/item"));
    expectEmptyTrash();
  });
}

// MARK: - A failure leaves everything as it was

class FailedMove : public TrashMachine {
 protected:
  static void expectAsItWas(const std::string& folder, long call, int error) {
    inChild([&] {
      failSystemCall(call, error);
      EXPECT_NE(trashPath(folder + "/Tessaly.app").waitStatus, 0);
    });
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"Tessaly.app"});
    EXPECT_EQ(contentsOf(folder + "/Tessaly.app/Contents/secret"), "secret");
    EXPECT_EQ(ownerOf(folder + "/Tessaly.app/Contents"), 0U);
    EXPECT_EQ(modeOf(folder + "/Tessaly.app/Contents/tool"), 04755U);
    expectEmptyTrash();
  }
};

TEST_F(FailedMove, LeavesTheItemWhereItIsOnOneVolume) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    for (const long call : {SYS_renameat2, SYS_mkdirat, SYS_fsync}) expectAsItWas(applications(), call, EIO);
  });
}

TEST_F(FailedMove, LeavesTheItemWhereItIsOnAnotherVolume) {
  run([] {
    mountTmpfs(machineFolder() + "/volume", "mode=0755");
    makeBundle(machineFolder() + "/volume/Tessaly.app");
    for (const long call : {SYS_renameat2, SYS_fchown, SYS_syncfs})
      expectAsItWas(machineFolder() + "/volume", call, EIO);
  });
}

TEST_F(FailedMove, LeavesNoCopyWhereTheItemCannotLeaveItsVolume) {
  run([] {
    const std::string volume = machineFolder() + "/volume";
    mountTmpfs(volume, "mode=0755");
    makeBundle(volume + "/Tessaly.app");
    makeReadOnly(volume);
    for (int time = 0; time < 3; ++time) {
      EXPECT_NE(trashPath(volume + "/Tessaly.app").waitStatus, 0);
      expectEmptyTrash();
    }
    EXPECT_EQ(contentsOf(volume + "/Tessaly.app/Contents/secret"), "secret");
  });
}

TEST_F(FailedMove, LeavesNoPartOfACopyOnAFullVolume) {
  run([] {
    mountTmpfs(trash(), "size=64k,mode=0700");
    for (const std::string& folder : {trash(), files(), trash() + "/info"}) {
      if (!exists(folder)) makeFolder(folder, kPerson, 0700);
      ASSERT_EQ(::chown(folder.c_str(), kPerson, kPerson), 0);
    }
    makeFolder(applications() + "/Tessaly.app");
    makeFile(applications() + "/Tessaly.app/large", std::string(200'000, 'x'));
    const Outcome outcome = trashItem("Tessaly.app");
    EXPECT_NE(outcome.waitStatus, 0);
    EXPECT_NE(outcome.note.find("No space left on device"), std::string::npos) << outcome.note;
    EXPECT_EQ(contentsOf(applications() + "/Tessaly.app/large").size(), 200'000U);
    expectEmptyTrash();
  });
}

}  // namespace
}  // namespace qm::testing
