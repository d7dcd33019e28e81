// SPDX-License-Identifier: MIT

// Requesting administrator rights: in a dialog, at a terminal and with credentials.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>

#include "Platform/posix/process/Descriptors.h"
#include "tests/contract/system/WaitUntil.h"
#include "tests/privileges/PolkitTest.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

// MARK: - The dialog

TEST_P(AdministratorRights, AreGrantedForTheRightPassword) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    EXPECT_EQ(application.end(), errAuthorizationSuccess);
    EXPECT_EQ(application.console.text(), "");
  });
}

TEST_P(AdministratorRights, AreAskedForOnceInWordsThatSayWhatHappens) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password});
    Application application(linux_::HelperScope::Product);
    ASSERT_EQ(application.open(), errAuthorizationSuccess);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(application.open(), errAuthorizationSuccess);
    EXPECT_THAT(
        agent.dialogs(),
        ElementsAre("com.quillmark.uninstaller.admin\tUninstall Tessaly is about to move parts of Tessaly that "
                    "belong to the system to your Trash, and to remove the folder of its maker if nothing is left "
                    "in it. Authentication is required for this."));
    application.end();
  });
}

TEST_P(AdministratorRights, AreDeniedForAWrongPassword) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({"wrong"});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationDenied);
    EXPECT_EQ(application.console.text(), "Administrator rights were not granted: the request was not authorized\n");
    EXPECT_EQ(application.start("/bin/echo", {}), errAuthorizationInvalidRef);
    application.end();
  });
}

TEST_P(AdministratorRights, AreDeniedAfterThreeWrongPasswords) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({"wrong/wrong/wrong"});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationDenied);
    EXPECT_THAT(agent.dialogs(), SizeIs(1));
    application.end();
  });
}

TEST_P(AdministratorRights, AreNotGrantedWhenTheDialogIsCancelledAndAskedForAgain) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({"cancel", kAnna.password});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationCanceled);
    EXPECT_EQ(application.console.text(), "Administrator rights were not granted: the dialog was dismissed\n");
    EXPECT_EQ(application.open(), errAuthorizationSuccess);
    EXPECT_THAT(agent.dialogs(), SizeIs(2));
    application.end();
  });
}

TEST_P(AdministratorRights, AreDeniedInTheDialogToAnExpiredAccount) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({std::string(kEve.name) + ":" + kEve.password});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationDenied);
    EXPECT_EQ(application.console.text(), "Administrator rights were not granted: the request was not authorized\n");
    EXPECT_THAT(agent.dialogs(), SizeIs(1));
    application.end();
  });
}

TEST_P(AdministratorRights, AreNotGrantedToThePersonOfAnExpiredAccount) {
  asAccount(kEve, [] {
    Application application;
    {
      DesktopAgent agent({std::string(kEve.name) + ":" + kEve.password});
      EXPECT_EQ(application.open(), errAuthorizationDenied);
    }
    EXPECT_EQ(application.open(kEve), errAuthorizationDenied);
    application.end();
  });
}

TEST_P(AdministratorRights, SayWhatIsLeftAsItWasWhenTheyAreRefused) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({"cancel", "wrong", "cancel"});
    Application application(linux_::HelperScope::Product);
    application.service.announce("/bin/mv", {"-f", "/Applications/A\nB.app", "/home/sam/.Trash/A\nB.app"});
    EXPECT_EQ(application.open(), errAuthorizationCanceled);
    application.service.announce("/bin/rm", {"-Rdf", "/Applications/Other.app"});
    EXPECT_EQ(application.open(), errAuthorizationDenied);
    EXPECT_EQ(application.open(), errAuthorizationCanceled) << "for nothing in particular";
    EXPECT_EQ(application.console.text(),
              "Administrator rights were not granted: the dialog was dismissed; left as it was: /Applications/A B.app\n"
              "Administrator rights were not granted: the request was not authorized; left as it was: "
              "/Applications/Other.app\n"
              "Administrator rights were not granted: the dialog was dismissed\n");
    application.end();
  });
}

TEST_P(AdministratorRights, AreNotKeptForTheNextSession) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password, "cancel"});
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationSuccess);
    EXPECT_EQ(application.end(), errAuthorizationSuccess);
    ASSERT_EQ(application.service.create({}, 0, &application.session), errAuthorizationSuccess);
    EXPECT_EQ(application.open(), errAuthorizationCanceled);
    application.end();
  });
}

TEST_P(AdministratorRights, CannotBeAskedForWithoutAnAgent) {
  asAccount(GetParam(), [] {
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationInteractionNotAllowed);
    EXPECT_THAT(application.console.text(), HasSubstr("no program here can ask for a password"));
    application.end();
  });
}

TEST_P(AdministratorRights, AreNotAskedForWhenThatIsNotAllowed) {
  asAccount(GetParam(), [] {
    DesktopAgent agent({kAnna.password});
    Application application;
    const AuthorizationItems rights = {{.name = "system.privilege.admin", .value = "", .flags = 0}};
    EXPECT_EQ(application.service.copyRights(application.session, rights, {}, kAuthorizationFlagExtendRights),
              errAuthorizationInteractionNotAllowed);
    EXPECT_EQ(application.service.copyRights(application.session, rights, {}, kAuthorizationFlagInteractionAllowed),
              errAuthorizationDenied);
    const AuthorizationItems other = {{.name = "system.something", .value = "", .flags = 0}};
    EXPECT_EQ(application.service.copyRights(application.session, other, {}, 19), errAuthorizationDenied);
    EXPECT_THAT(agent.dialogs(), SizeIs(0));
    application.end();
  });
}

bool echoes(int terminal) {
  termios state{};
  return ::tcgetattr(terminal, &state) != 0 || (state.c_lflag & ECHO) != 0;
}

TEST_P(AdministratorRights, AreAskedForAtTheTerminalWhereThereIsNoDesktop) {
  asAccount(GetParam(), [] {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
    const pid_t person = ::fork();
    if (person == 0) {
      // Reads what the terminal shows; types anna's place in the list, and her password.
      std::string shown;
      char block[512];
      const auto waitFor = [&](const char* text) {
        while (shown.find(text) == std::string::npos) {
          const ssize_t got = ::read(terminal, block, sizeof block);
          if (got <= 0) ::_exit(1);
          shown.append(block, static_cast<std::size_t>(got));
        }
      };
      waitFor("Choose identity");
      const std::size_t place = shown.find("  anna");
      const std::string choice = place == std::string::npos ? "1\n" : shown.substr(place - 2, 1) + "\n";
      static_cast<void>(!::write(terminal, choice.data(), choice.size()));
      waitFor("Password:");
      // Input typed before the terminal stops echoing is discarded.
      if (!waitUntil([&] { return !echoes(terminal); })) ::_exit(1);
      const std::string password = std::string(kAnna.password) + "\n";
      static_cast<void>(!::write(terminal, password.data(), password.size()));
      waitFor("AUTHENTICATION COMPLETE");
      ::_exit(0);
    }
    const int own = ::open(::ptsname(terminal), O_RDWR);  // becomes the session's terminal
    ASSERT_GE(own, 0);
    Application application;
    EXPECT_EQ(application.open(), errAuthorizationSuccess) << application.console.text();
    EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
    application.end();
    int status = -1;
    EXPECT_EQ(::waitpid(person, &status, 0), person);
    EXPECT_EQ(status, 0);
    ::signal(SIGHUP, SIG_IGN);
    ::close(own);
    ::close(terminal);
  });
}

// MARK: - Credentials

TEST_P(AdministratorRights, AreGrantedForAnAdministratorsCredentials) {
  struct Case {
    Account person;
    Account administrator;
  };
  for (const Case& each : {Case{kAnna, kAnna}, Case{kAnna, kBea}, Case{kSam, kBea}}) {
    asAccount(each.person, [&] {
      Application application;
      EXPECT_EQ(application.open(each.administrator), errAuthorizationSuccess) << application.console.text();
      EXPECT_EQ(application.outputOf("/usr/bin/id", {"-u"}), "0\n");
      application.end();
    });
  }
}

TEST_P(AdministratorRights, AreDeniedForOtherCredentials) {
  asAccount(GetParam(), [] {
    Application application;
    EXPECT_EQ(application.open(kAnna.name, "wrong"), errAuthorizationDenied);
    EXPECT_EQ(application.open(kSam), errAuthorizationDenied) << "not an administrator";
    EXPECT_EQ(application.open("nobody-of-this-name", "x"), errAuthorizationDenied);
    EXPECT_EQ(application.open("", ""), errAuthorizationDenied);
    EXPECT_EQ(application.open(kEve), errAuthorizationDenied) << "her account has expired";
    EXPECT_EQ(application.open(std::string(5000, 'x'), "x"), errAuthorizationToolEnvironmentError);
    application.end();
  });
}

TEST_P(AdministratorRights, LeaveNoAgentWhenTheApplicationNeedsNoneAnyMore) {
  asAccount(GetParam(), [] {
    const Application application;
    posix::Pipe input = posix::makePipe();
    posix::Pipe output = posix::makePipe();
    linux_::ChildProgram agent;
    ASSERT_EQ(agent.start(application.programs.credentialsAgent, {std::to_string(::getpid()), linux_::ownStartTime()},
                          {.input = input.reading.get(), .output = output.writing.get()}),
              0);
    ASSERT_EQ(::write(input.writing.get(), "\4\0\0\0anna\1\0\0\0x", 13), 13);
    char ready[6] = {};
    EXPECT_EQ(::read(output.reading.get(), ready, sizeof ready), 6);
    input.writing.reset();
    EXPECT_EQ(agent.wait(), 0);
  });
}

TEST_P(AdministratorRights, DoNotShowThePassword) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_THAT(application.console.text(), ::testing::Not(HasSubstr(kAnna.password)));
    const std::string search = "grep -l -a -s -F \"$1\" /proc/[0-9]*/cmdline /proc/[0-9]*/environ; true";
    EXPECT_EQ(application.outputOf("/bin/bash", {"-c", "read -r x < /dev/null; set -- \"anna's\"' secret'; " + search}),
              "");
    application.end();
  });
}

}  // namespace
}  // namespace qm::testing
