// What arrives in a person's Trash by root's hand.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <optional>

#include "Platform/linux/privileges/helper/FolderEntries.h"
#include "Platform/linux/privileges/helper/Publication.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

class ItemInTheTrash : public ::testing::Test {
 protected:
  static void run(const std::function<void()>& body) {
    runInPrivateMachine([&] {
      addAccount();
      makeFolder(home(), kPerson);
      makeFolder(trash(), kPerson, 0700);
      makeFolder(trash() + "/files", kPerson, 0700);
      makeFolder(trash() + "/info", kPerson, 0700);
      makeLink(home() + "/.Trash", "Trash/files", kPerson);
      makeFolder(applications());
      body();
    });
  }

  // The machine's own account list, seen by this process only.
  static void addAccount() {
    makeFile(machineFolder() + "/passwd", "root:x:0:0::/root:/bin/sh\nsam:x:1001:1001::/home/sam:/bin/sh\n");
    bindMount(machineFolder() + "/passwd", "/etc/passwd");
  }

  static void makeBundle(const std::string& path) {
    makeFolder(path);
    makeFolder(path + "/Contents", 0, 0555);
    makeFile(path + "/Contents/secret", "secret", 0, 0600);
    makeFile(path + "/Contents/tool", "tool", 0, 04755);
    makeLink(path + "/Contents/link", "/etc");
  }

  static Outcome trashItem(const std::string& name) {
    return launch("/bin/mv", {"-f", applications() + "/" + name, home() + "/.Trash/" + name});
  }

  static std::string home() { return machineFolder() + "/home"; }
  static std::string trash() { return home() + "/Trash"; }
  static std::string applications() { return machineFolder() + "/applications"; }
};

TEST_F(ItemInTheTrash, IsDescribedAsThePersonsOwn) {
  run([] {
    makeBundle(applications() + "/100 % Tessaly.app");
    EXPECT_TRUE(trashItem("100 % Tessaly.app").succeeded());
    const std::string info = trash() + "/info/100 % Tessaly.app.trashinfo";
    const std::string text = contentsOf(info);
    EXPECT_EQ(text.find("[Trash Info]\nPath=" + applications() + "/100%20%25%20Tessaly.app\nDeletionDate=20"), 0U)
        << text;
    EXPECT_EQ(ownerOf(info), kPerson);
    EXPECT_EQ(modeOf(info), 0600U);
    EXPECT_EQ(namesIn(trash() + "/files"), std::vector<std::string>{"100 % Tessaly.app"});
  });
}

TEST_F(ItemInTheTrash, IsNeverPutIntoAnotherOfItsName) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    makeBundle(applications() + "/Tessaly.app");
    trashItem("Tessaly.app");
    EXPECT_EQ(namesIn(trash() + "/files"), (std::vector<std::string>{"Tessaly.app", "Tessaly.app 2"}));
    EXPECT_EQ(namesIn(trash() + "/files/Tessaly.app"), std::vector<std::string>{"Contents"});
    EXPECT_EQ(contentsOf(trash() + "/files/Tessaly.app 2/Contents/secret"), "secret");
    const std::string text = contentsOf(trash() + "/info/Tessaly.app 2.trashinfo");
    EXPECT_EQ(text.find("[Trash Info]\nPath=" + applications() + "/Tessaly.app\nDeletionDate=20"), 0U) << text;
    EXPECT_FALSE(exists(applications() + "/Tessaly.app"));
  });
}

TEST_F(ItemInTheTrash, IsNeverPutBehindALinkOfItsName) {
  run([] {
    makeFolder(home() + "/dev", kPerson);
    makeLink(trash() + "/files/Tessaly.app", home() + "/dev", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_EQ(trashItem("Tessaly.app").note, "\"Tessaly.app\" is taken; it is now: Tessaly.app 2");
    EXPECT_EQ(namesIn(home() + "/dev"), std::vector<std::string>{});
    EXPECT_TRUE(exists(trash() + "/files/Tessaly.app 2/Contents/secret"));
  });
}

TEST_F(ItemInTheTrash, CanBeRestoredByThePerson) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    asUser(kPerson, kPerson, [] {
      const std::string item = trash() + "/files/Tessaly.app";
      EXPECT_EQ(::rename(item.c_str(), (home() + "/Tessaly.app").c_str()), 0);
    });
  });
}

TEST_F(ItemInTheTrash, CanBeDeletedByThePerson) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    asUser(kPerson, kPerson, [] {
      const std::string contents = trash() + "/files/Tessaly.app/Contents";
      for (const std::string name : {"/secret", "/tool", "/link"}) EXPECT_EQ(::unlink((contents + name).c_str()), 0);
      EXPECT_EQ(::rmdir(contents.c_str()), 0);
      EXPECT_EQ(::rmdir((trash() + "/files/Tessaly.app").c_str()), 0);
      EXPECT_EQ(::unlink((trash() + "/info/Tessaly.app.trashinfo").c_str()), 0);
    });
  });
}

TEST_F(ItemInTheTrash, GivesThePersonFoldersButNoFiles) {
  run([] {
    makeBundle(applications() + "/Tessaly.app");
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    const std::string item = trash() + "/files/Tessaly.app";
    EXPECT_EQ(ownerOf(item), kPerson);
    EXPECT_EQ(ownerOf(item + "/Contents"), kPerson);
    EXPECT_EQ(modeOf(item + "/Contents"), 0755U) << "he can empty it";
    EXPECT_EQ(ownerOf(item + "/Contents/secret"), 0U);
    EXPECT_EQ(modeOf(item + "/Contents/secret"), 0600U);
    EXPECT_EQ(ownerOf(item + "/Contents/tool"), 0U);
    EXPECT_EQ(ownerOf("/etc"), 0U) << "links are not followed";
  });
}

TEST_F(ItemInTheTrash, LeavesTheOtherNamesOfItsFilesAlone) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    makeFile(machineFolder() + "/elsewhere", "root's", 0, 0600);
    ASSERT_EQ(::link((machineFolder() + "/elsewhere").c_str(), (applications() + "/Tessaly.app/name").c_str()), 0);
    ASSERT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(ownerOf(machineFolder() + "/elsewhere"), 0U);
    EXPECT_EQ(modeOf(machineFolder() + "/elsewhere"), 0600U);
  });
}

TEST_F(ItemInTheTrash, DoesNotGiveAwayAnotherVolume) {
  run([] {
    makeFolder(applications() + "/Tessaly.app");
    mountTmpfs(applications() + "/Tessaly.app/volume", "mode=0700");
    makeFolder(applications() + "/Tessaly.app/volume/folder");
    // The kernel moves a folder with a mount in it along.
    trashItem("Tessaly.app");
    const std::string item = exists(trash() + "/files/Tessaly.app") ? trash() + "/files" : applications();
    EXPECT_EQ(ownerOf(item + "/Tessaly.app/volume"), 0U);
    EXPECT_EQ(ownerOf(item + "/Tessaly.app/volume/folder"), 0U);
  });
}

TEST_F(ItemInTheTrash, MayBeAFile) {
  run([] {
    makeFile(applications() + "/settings.plist", "settings", 0, 0600);
    EXPECT_TRUE(trashItem("settings.plist").succeeded());
    EXPECT_TRUE(exists(trash() + "/info/settings.plist.trashinfo"));
    EXPECT_EQ(ownerOf(trash() + "/files/settings.plist"), 0U);
    asUser(kPerson, kPerson, [] { EXPECT_EQ(::unlink((trash() + "/files/settings.plist").c_str()), 0); });
  });
}

TEST_F(ItemInTheTrash, LeavesADescriptionOfItsNameAlone) {
  run([] {
    // Somebody is about to move an item there, or has deleted one and left this.
    makeFile(trash() + "/info/Tessaly.app.trashinfo", "[Trash Info]\nPath=/old\n", kPerson);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_EQ(trashItem("Tessaly.app").note, "\"Tessaly.app\" is taken; it is now: Tessaly.app 2");
    EXPECT_EQ(contentsOf(trash() + "/info/Tessaly.app.trashinfo"), "[Trash Info]\nPath=/old\n");
    EXPECT_TRUE(exists(trash() + "/info/Tessaly.app 2.trashinfo"));
    EXPECT_EQ(namesIn(trash() + "/files"), std::vector<std::string>{"Tessaly.app 2"});
  });
}

TEST_F(ItemInTheTrash, ArrivesWithAWordWhenItCannotBeDescribed) {
  run([] {
    const std::string name(250, 'n');
    makeFolder(applications() + "/" + name);
    const Outcome outcome = trashItem(name);
    EXPECT_EQ(outcome.waitStatus, 0);
    EXPECT_NE(outcome.note.find("could not be handed over completely: File name too long"), std::string::npos);
    EXPECT_TRUE(exists(trash() + "/files/" + name));
  });
}

TEST_F(ItemInTheTrash, IsNotDescribedWhenItNeverCame) {
  run([] {
    EXPECT_NE(trashItem("missing").waitStatus, 0);
    EXPECT_EQ(namesIn(trash() + "/info"), std::vector<std::string>{});
    EXPECT_EQ(namesIn(trash() + "/files"), std::vector<std::string>{});
  });
}

TEST_F(ItemInTheTrash, ComesFromAnotherVolume) {
  run([] {
    mountTmpfs(machineFolder() + "/volume", "mode=0755");
    makeBundle(machineFolder() + "/volume/Tessaly.app");
    const Outcome outcome =
        launch("/bin/mv", {"-f", machineFolder() + "/volume/Tessaly.app", home() + "/.Trash/Tessaly.app"});
    EXPECT_TRUE(outcome.succeeded()) << outcome.reason << outcome.note;
    EXPECT_EQ(ownerOf(trash() + "/files/Tessaly.app/Contents"), kPerson);
    EXPECT_EQ(modeOf(trash() + "/files/Tessaly.app/Contents/tool"), 04755U);
    EXPECT_FALSE(exists(machineFolder() + "/volume/Tessaly.app"));
  });
}

TEST_F(ItemInTheTrash, IsHandedOverInNobodyElsesFolders) {
  run([] {
    // Looks like a Trash, but its descriptions would be somebody else's.
    ASSERT_EQ(::chown((trash() + "/info").c_str(), kOther, kOther), 0);
    makeBundle(applications() + "/Tessaly.app");
    EXPECT_TRUE(trashItem("Tessaly.app").succeeded());
    EXPECT_EQ(ownerOf(trash() + "/files/Tessaly.app"), 0U);
    EXPECT_EQ(namesIn(trash() + "/info"), std::vector<std::string>{});
  });
}

// MARK: - A name that is taken while the tool works

class ItemWithATakenName : public ItemInTheTrash {
 protected:
  // Publishes a bundle that the tool has made as "Tessaly.app", after `meanwhile`; answers what is said of it.
  static std::string publish(const std::function<void(const linux_::Publication&)>& meanwhile) {
    linux_::Publication publication(openFolder(trash() + "/files"), "Tessaly.app");
    EXPECT_EQ(publication.prepare(), std::nullopt);
    publication.handOverTo(kPerson, "/Applications/Tessaly.app");
    const std::string staging = linux_::shownPath(publication.stagingFolder());
    makeBundle(staging + "/Tessaly.app");
    meanwhile(publication);
    return publication.finish();
  }

  static posix::UniqueFd openFolder(const std::string& path) {
    posix::UniqueFd folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    EXPECT_TRUE(folder);
    return folder;
  }

  // Somebody trashes an item of this name.
  static void takeName(const std::string& name) {
    makeFile(trash() + "/files/" + name, "another " + name, kPerson);
    makeFile(trash() + "/info/" + name + ".trashinfo", "[Trash Info]\nPath=/another/" + name + "\n", kPerson);
  }

  static std::string infoOf(const std::string& name) { return contentsOf(trash() + "/info/" + name + ".trashinfo"); }
};

TEST_F(ItemWithATakenName, IsPublishedBesideWithADescriptionOfItsOwn) {
  run([] {
    EXPECT_EQ(publish([](const auto&) { takeName("Tessaly.app"); }),
              "\"Tessaly.app\" is taken; it is now: Tessaly.app 2");
    EXPECT_EQ(contentsOf(trash() + "/files/Tessaly.app"), "another Tessaly.app");
    EXPECT_EQ(infoOf("Tessaly.app"), "[Trash Info]\nPath=/another/Tessaly.app\n");
    EXPECT_EQ(infoOf("Tessaly.app 2").find("[Trash Info]\nPath=/Applications/Tessaly.app\nDeletionDate=20"), 0U);
    EXPECT_EQ(ownerOf(trash() + "/files/Tessaly.app 2/Contents"), kPerson);
    EXPECT_EQ(namesIn(trash() + "/files"), (std::vector<std::string>{"Tessaly.app", "Tessaly.app 2"}));
  });
}

TEST_F(ItemWithATakenName, GetsTheNextFreeNumber) {
  run([] {
    EXPECT_EQ(publish([](const auto&) {
                for (const std::string name : {"Tessaly.app", "Tessaly.app 2", "Tessaly.app 3"}) takeName(name);
              }),
              "\"Tessaly.app\" is taken; it is now: Tessaly.app 4");
    EXPECT_EQ(contentsOf(trash() + "/files/Tessaly.app 3"), "another Tessaly.app 3");
    EXPECT_NE(infoOf("Tessaly.app 4").find("Path=/Applications/Tessaly.app\n"), std::string::npos);
  });
}

TEST_F(ItemWithATakenName, StaysWhereItWasMadeWhenAllNumbersAreTaken) {
  run([] {
    std::string staging;
    const std::string note = publish([&](const linux_::Publication& publication) {
      staging = linux_::shownPath(publication.stagingFolder());
      takeName("Tessaly.app");
      for (int number = 2; number < 64; ++number) takeName("Tessaly.app " + std::to_string(number));
    });
    EXPECT_EQ(note, "\"Tessaly.app\" could not take its place (File exists); it is now: " + staging);
    EXPECT_EQ(contentsOf(staging + "/Tessaly.app/Contents/secret"), "secret") << "better in the way than lost";
    EXPECT_EQ(namesIn(trash() + "/files").size(), 64U);
    EXPECT_EQ(infoOf("Tessaly.app"), "[Trash Info]\nPath=/another/Tessaly.app\n");
  });
}

TEST_F(ItemWithATakenName, SaysSoWhenItCannotBeDescribed) {
  run([] {
    const std::string name(250, 'n');
    makeFile(applications() + "/" + name, "new");
    makeFile(trash() + "/files/" + name, "another", kPerson);
    EXPECT_EQ(trashItem(name).note,
              "\"" + name + "\" is taken; it is now: " + name + " 2, which the desktop may not be able to put back");
    EXPECT_TRUE(exists(trash() + "/files/" + name + " 2"));
    EXPECT_EQ(contentsOf(trash() + "/files/" + name), "another");
  });
}

TEST_F(ItemWithATakenName, IsNotDescribedAnyMoreWhereItCouldNotGo) {
  run([] {
    publish([](const auto&) { makeFile(trash() + "/files/Tessaly.app", "undescribed", kPerson); });
    EXPECT_EQ(namesIn(trash() + "/info"), std::vector<std::string>{"Tessaly.app 2.trashinfo"});
    EXPECT_EQ(contentsOf(trash() + "/files/Tessaly.app"), "undescribed");
  });
}

TEST_F(ItemWithATakenName, StaysWhereItWasMadeWhenNothingCanBePutIntoTheTrash) {
  run([] {
    std::string staging;
    const std::string note = publish([&](const linux_::Publication& publication) {
      staging = linux_::shownPath(publication.stagingFolder());
      failSystemCall(SYS_renameat2, EIO);
    });
    EXPECT_EQ(note, "\"Tessaly.app\" could not take its place (Input/output error); it is now: " + staging);
    EXPECT_EQ(namesIn(trash() + "/info"), std::vector<std::string>{});
    EXPECT_EQ(contentsOf(staging + "/Tessaly.app/Contents/secret"), "secret");
  });
}

}  // namespace
}  // namespace qm::testing
