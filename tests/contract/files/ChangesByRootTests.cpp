// SPDX-License-Identifier: MIT

// Changes by a root process at paths that somebody else can redirect.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>

#include "Platform/posix/rights/RightfulCopies.h"
#include "Platform/posix/rights/RightfulFileSystem.h"
#include "tests/contract/files/BackgroundCopy.h"
#include "tests/contract/files/RealCopies.h"
#include "tests/fakes/FakeUsers.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

// "system" is root's, "home" the user's, with a link "way" to "system".
class ChangesByRoot : public ::testing::Test {
 protected:
  using Files = posix::RightfulFileSystem;

  static void run(const std::function<void(Files&)>& body) {
    runInPrivateMachine([&] {
      makeFolder(system());
      makeFile(system() + "/precious", "precious");
      makeFolder(home(), kPerson);
      makeLink(home() + "/way", system(), kPerson);
      Calls calls;
      FakeUsers users(calls);
      users.actAsRoot("nobody-of-this-name");
      Files files(users);
      body(files);
      EXPECT_EQ(contentsOf(system() + "/precious"), "precious");
      EXPECT_EQ(namesIn(system()), std::vector<std::string>{"precious"});
    });
  }

  static std::string system() { return machineFolder() + "/system"; }
  static std::string home() { return machineFolder() + "/home"; }
};

TEST_F(ChangesByRoot, AreMadeWithRootsRightsWhereOnlyRootLeads) {
  runInPrivateMachine([] {
    makeFolder(system(), 0, 0700);
    Calls calls;
    FakeUsers users(calls);
    users.actAsRoot("u");
    Files files(users);
    EXPECT_TRUE(files.createDirectory(system() + "/new/folder"));
    EXPECT_TRUE(files.writeFileAtomically(system() + "/new/file", "text"));
    EXPECT_EQ(ownerOf(system() + "/new/folder"), 0U);
    EXPECT_TRUE(files.removeItem(system() + "/new"));
    EXPECT_FALSE(exists(system() + "/new"));
  });
}

TEST_F(ChangesByRoot, BelongToThePersonInThePersonsFolders) {
  run([](Files& files) {
    EXPECT_TRUE(files.createDirectory(home() + "/Library/Logs"));
    EXPECT_TRUE(files.writeFileAtomically(home() + "/Library/Logs/log", "text"));
    for (const std::string name : {"/Library", "/Library/Logs", "/Library/Logs/log"}) {
      EXPECT_EQ(ownerOf(home() + name), kPerson) << name;
    }
    EXPECT_TRUE(files.moveItem(home() + "/Library/Logs/log", home() + "/Library/old"));
    EXPECT_TRUE(files.removeItem(home() + "/Library"));
  });
}

TEST_F(ChangesByRoot, GoNowhereBehindALinkOfThePersons) {
  run([](Files& files) {
    makeFile(home() + "/own", "own", kPerson);
    EXPECT_FALSE(files.createDirectory(home() + "/way/new"));
    EXPECT_FALSE(files.writeFileAtomically(home() + "/way/precious", "planted"));
    EXPECT_FALSE(files.removeItem(home() + "/way/precious"));
    EXPECT_FALSE(files.removeHollowFolder(home() + "/way", {}));
    EXPECT_FALSE(files.moveItem(home() + "/own", home() + "/way/planted"));
    EXPECT_FALSE(files.linkItem(home() + "/own", home() + "/way/planted"));
    EXPECT_FALSE(files.copyItem(home() + "/own", home() + "/way/planted"));
    EXPECT_EQ(files.openForWriting(home() + "/way/precious"), nullptr);
  });
}

TEST_F(ChangesByRoot, TakeNothingOfRootsOutOfThePersonsFolders) {
  run([](Files& files) {
    makeFolder(home() + "/roots", 0, 0700);
    makeFile(home() + "/roots/file", "root's", 0, 0600);
    EXPECT_FALSE(files.removeItem(home() + "/roots"));
    EXPECT_EQ(contentsOf(home() + "/roots/file"), "root's");
  });
}

TEST_F(ChangesByRoot, AreRefusedWhereAnybodyLeadsAndNobodyIsThere) {
  run([](Files& files) {
    makeFolder(machineFolder() + "/open", 0, 0777);
    makeFile(machineFolder() + "/open/item", "");
    const platform::Status status = files.removeItem(machineFolder() + "/open/item");
    EXPECT_FALSE(status);
    EXPECT_EQ(status.localizedDescription(), "“item” couldn’t be removed because you don’t have permission.");
    EXPECT_TRUE(exists(machineFolder() + "/open/item"));
  });
}

/// With root itself at the console, and a folder that everybody may write to.
void runForRoot(const std::function<void(posix::RightfulFileSystem&, const std::string& open)>& body) {
  runInPrivateMachine([&] {
    const std::string open = machineFolder() + "/open";
    makeFolder(open, 0, 0777);
    Calls calls;
    FakeUsers users(calls);
    users.actAsRoot("root");
    posix::RightfulFileSystem files(users);
    body(files, open);
  });
}

TEST_F(ChangesByRoot, AreRefusedByPathWhereAnybodyLeadsAndRootIsThere) {
  runForRoot([](auto& files, const std::string& open) {
    makeFile(open + "/item", "");
    EXPECT_EQ(files.removeItem(open + "/item").code(), EPERM);
    EXPECT_EQ(files.createDirectory(open + "/new").code(), EPERM);
    EXPECT_TRUE(exists(open + "/item"));
    EXPECT_FALSE(exists(open + "/new"));
  });
}

TEST_F(ChangesByRoot, RemoveAHollowFolderAtItsPlaceWhereAnybodyLeadsAndRootIsThere) {
  runForRoot([](auto& files, const std::string& open) {
    makeFolder(open + "/Quillmark", 0, 0755);
    makeFile(open + "/Quillmark/letter", "");
    EXPECT_EQ(files.removeHollowFolder(open + "/Quillmark", {".DS_Store"}).code(), ENOTEMPTY);
    EXPECT_TRUE(files.removeHollowFolder(open + "/Quillmark", {".DS_Store", "letter"}));
    EXPECT_FALSE(exists(open + "/Quillmark"));
  });
}

TEST_F(ChangesByRoot, RemoveNoHollowFolderBehindALinkThatAnybodyCouldHavePlanted) {
  runForRoot([](auto& files, const std::string& open) {
    makeFolder(machineFolder() + "/system");
    makeFolder(machineFolder() + "/system/Quillmark");
    makeLink(open + "/way", machineFolder() + "/system", kPerson);
    EXPECT_EQ(files.removeHollowFolder(open + "/way/Quillmark", {}).code(), ELOOP);
    EXPECT_TRUE(exists(machineFolder() + "/system/Quillmark"));
  });
}

TEST_F(ChangesByRoot, OfNobodyElseChangeTheirRights) {
  runInPrivateMachine([] {
    makeFolder(home(), kPerson, 0777);
    Calls calls;
    FakeUsers users(calls);
    Files files(users);
    EXPECT_TRUE(files.createDirectory(home() + "/new"));
    EXPECT_EQ(ownerOf(home() + "/new"), 0U)
        << "the process of an ordinary user, which the test plays, stays what it is";
  });
}

/// A copy in the background by a root process.
int copyInBackground(const platform::Users& users, const std::string& source, const std::string& folder) {
  RealCopies machine;
  posix::PosixFileOperations service{machine.mainThread, machine.threads, machine.clock, posix::rightsForCopies(users)};
  return BackgroundCopy(service, machine.mainThread).run(source, folder, "copy");
}

TEST_F(ChangesByRoot, InTheBackgroundGoNowhereBehindALinkOfThePersonsEither) {
  runInPrivateMachine([] {
    makeFolder(system());
    makeFolder(home(), kPerson);
    makeLink(home() + "/way", system(), kPerson);
    makeFile(home() + "/file", "person's", kPerson);
    makeFile(machineFolder() + "/secret", "root's", 0, 0600);
    Calls calls;
    FakeUsers users(calls);
    users.actAsRoot("nobody-of-this-name");
    ASSERT_EQ(copyInBackground(users, home() + "/file", home()), 0);
    EXPECT_EQ(ownerOf(home() + "/copy"), kPerson);
    EXPECT_NE(copyInBackground(users, home() + "/file", home() + "/way"), 0);
    makeFolder(home() + "/other", kPerson);
    EXPECT_EQ(copyInBackground(users, machineFolder() + "/secret", home() + "/other"), EACCES);
    EXPECT_FALSE(exists(home() + "/other/copy"));
    EXPECT_EQ(namesIn(system()), std::vector<std::string>{});
  });
}

TEST_F(ChangesByRoot, InTheBackgroundAreRefusedWhereAnybodyLeadsAndNobodyIsThere) {
  runInPrivateMachine([] {
    makeFolder(machineFolder() + "/open", 0, 0777);
    makeFile(machineFolder() + "/file", "");
    Calls calls;
    FakeUsers users(calls);
    users.actAsRoot("nobody-of-this-name");
    EXPECT_EQ(copyInBackground(users, machineFolder() + "/file", machineFolder() + "/open"), EPERM);
    EXPECT_FALSE(exists(machineFolder() + "/open/copy"));
  });
}

}  // namespace
}  // namespace qm::testing
