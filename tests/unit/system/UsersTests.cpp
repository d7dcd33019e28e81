// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Platform/linux/system/SystemUsers.h"
#include "Platform/posix/rights/GroupList.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

constexpr const char* kPasswd =
    "root:x:0:0:root:/root:/bin/bash\n"
    "anna:x:1:1:Anna:/home/anna:/bin/bash\n"
    "ben:x:2:2:Ben:/home/ben/:/bin/bash\n"
    "lost:x:3:3:Lost::/bin/sh\n"
    "odd:x:4:4:Odd:not/absolute:/bin/sh\n";

void writeFile(const std::string& path, const std::string& contents) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream(path) << contents;
}

/// A machine with the users above and, at first, without a login manager.
class SystemUsers : public ::testing::Test {
 protected:
  static void inMachine(const std::function<void()>& body) {
    runInPrivateMachine([&body] {
      mountTmpfs("/run");
      const std::string passwd = machineFolder() + "/passwd";
      writeFile(passwd, kPasswd);
      ASSERT_EQ(::mount(passwd.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr), 0);
      for (const char* name : {"HOME", "PKEXEC_UID", "SUDO_UID", "SUDO_USER"}) ::unsetenv(name);
      body();
    });
  }
  static void logIn(const std::string& session, unsigned id, const std::string& sessionClass) {
    const std::string user = std::to_string(id);
    writeFile("/run/systemd/seats/seat0", "IS_SEAT0=1\nCAN_MULTI_SESSION=1\nACTIVE=" + session + "\nACTIVE_UID=" +
                                              user + "\nSESSIONS=" + session + "\nUIDS=" + user + "\n");
    writeFile("/run/systemd/sessions/" + session,
              "UID=" + user + "\nACTIVE=1\nSTATE=active\nSEAT=seat0\nTYPE=x11\nCLASS=" + sessionClass + "\n");
    writeFile("/run/systemd/users/" + user, "STATE=active\nACTIVE_SESSIONS=" + session + "\n");
  }

  linux_::SystemUsers users_;
};

TEST_F(SystemUsers, NamesTheOrdinaryUser) {
  inMachine([this] {
    asUser(1, 1, [this] {
      EXPECT_EQ(users_.realUserId(), 1U);
      EXPECT_EQ(users_.userName(), "anna");
      EXPECT_EQ(users_.homeDirectory(), "/home/anna");
    });
  });
}

TEST_F(SystemUsers, TakesTheHomeOfTheEnvironmentWhenItIsAbsolute) {
  inMachine([this] {
    asUser(1, 1, [this] {
      ::setenv("HOME", "/somewhere/else/", 1);
      EXPECT_EQ(users_.homeDirectory(), "/somewhere/else");
      ::setenv("HOME", "relative", 1);
      EXPECT_EQ(users_.homeDirectory(), "/home/anna");
      ::setenv("HOME", "", 1);
      EXPECT_EQ(users_.homeDirectory(), "/home/anna");
    });
  });
}

TEST_F(SystemUsers, GivesRootTheHomeOfTheCommonLayout) {
  inMachine([this] {
    ::setenv("HOME", "/home/anna", 1);
    EXPECT_EQ(users_.realUserId(), 0U);
    EXPECT_EQ(users_.userName(), "root");
    EXPECT_EQ(users_.homeDirectory(), "/var/root");
  });
}

TEST_F(SystemUsers, GivesAUserWithoutARecordHisNumberAndTheRootFolder) {
  inMachine([this] {
    asUser(5, 5, [this] {
      EXPECT_EQ(users_.userName(), "5");
      EXPECT_EQ(users_.homeDirectory(), "/");
    });
  });
}

TEST_F(SystemUsers, FindsTheHomeOfANamedUser) {
  inMachine([this] {
    EXPECT_EQ(users_.homeDirectoryForUser("anna"), "/home/anna");
    EXPECT_EQ(users_.homeDirectoryForUser("ben"), "/home/ben");
    EXPECT_EQ(users_.homeDirectoryForUser("root"), "/root");
  });
}

TEST_F(SystemUsers, KnowsNoHomeOfAnUnknownUser) {
  inMachine([this] {
    EXPECT_EQ(users_.homeDirectoryForUser(std::nullopt), std::nullopt);
    EXPECT_EQ(users_.homeDirectoryForUser(""), std::nullopt);
    EXPECT_EQ(users_.homeDirectoryForUser("nobody-here"), std::nullopt);
    EXPECT_EQ(users_.homeDirectoryForUser(std::string("anna\0x", 6)), std::nullopt);
    EXPECT_EQ(users_.homeDirectoryForUser("lost"), std::nullopt);
    EXPECT_EQ(users_.homeDirectoryForUser("odd"), std::nullopt);
  });
}

TEST_F(SystemUsers, FindsARecordThatIsVeryLong) {
  inMachine([this] {
    const std::string home = "/" + std::string(3000, 'h');
    writeFile(machineFolder() + "/passwd", "long:x:6:6::" + home + ":/bin/sh\n");
    EXPECT_EQ(users_.homeDirectoryForUser("long"), home);
  });
}

TEST_F(SystemUsers, NamesTheUserOfTheActiveSession) {
  inMachine([this] {
    logIn("c2", 1, "user");
    EXPECT_EQ(users_.consoleUser(), "anna");
    logIn("c3", 2, "user");
    EXPECT_EQ(users_.consoleUser(), "ben");
  });
}

TEST_F(SystemUsers, ReadsALoginScreenAsTheLoginWindow) {
  inMachine([this] {
    logIn("c1", 3, "greeter");
    EXPECT_EQ(users_.consoleUser(), "loginwindow");
  });
}

TEST_F(SystemUsers, NamesRootWhenRootIsLoggedIn) {
  inMachine([this] {
    logIn("c2", 0, "user");
    EXPECT_EQ(users_.consoleUser(), "root");
  });
}

TEST_F(SystemUsers, SeesNobodyWithoutAnActiveSession) {
  inMachine([this] {
    ::setenv("SUDO_UID", "1", 1);
    writeFile("/run/systemd/seats/seat0", "IS_SEAT0=1\nSESSIONS=c1\n");
    EXPECT_EQ(users_.consoleUser(), std::nullopt);
  });
}

TEST_F(SystemUsers, SeesNobodyOnAMachineWithoutTheSeat) {
  inMachine([this] {
    ::setenv("SUDO_UID", "1", 1);
    writeFile("/run/systemd/seats/seat1", "ACTIVE=c1\nACTIVE_UID=1\n");
    EXPECT_EQ(users_.consoleUser(), std::nullopt);
  });
}

TEST_F(SystemUsers, SeesNobodyWhenTheSessionsUserIsUnknown) {
  inMachine([this] {
    logIn("c2", 77, "user");
    EXPECT_EQ(users_.consoleUser(), std::nullopt);
  });
}

TEST_F(SystemUsers, NamesTheUserWhoseSessionFileIsGoneByNow) {
  inMachine([this] {
    logIn("c2", 1, "user");
    std::filesystem::remove("/run/systemd/sessions/c2");
    EXPECT_EQ(users_.consoleUser(), "anna");
  });
}

TEST_F(SystemUsers, PrefersTheActiveSessionToTheEnvironment) {
  inMachine([this] {
    ::setenv("SUDO_UID", "2", 1);
    logIn("c2", 1, "user");
    EXPECT_EQ(users_.consoleUser(), "anna");
  });
}

TEST_F(SystemUsers, NamesTheUserBehindPkexecWithoutALoginManager) {
  inMachine([this] {
    ::setenv("PKEXEC_UID", "1", 1);
    ::setenv("SUDO_UID", "2", 1);
    EXPECT_EQ(users_.consoleUser(), "anna");
  });
}

TEST_F(SystemUsers, NamesTheUserBehindSudoWithoutALoginManager) {
  inMachine([this] {
    ::setenv("SUDO_UID", "2", 1);
    ::setenv("SUDO_USER", "anna", 1);
    EXPECT_EQ(users_.consoleUser(), "ben");
    ::unsetenv("SUDO_UID");
    EXPECT_EQ(users_.consoleUser(), "anna");
  });
}

TEST_F(SystemUsers, DoesNotCountRootBehindATool) {
  inMachine([this] {
    ::setenv("PKEXEC_UID", "0", 1);
    ::setenv("SUDO_USER", "root", 1);
    EXPECT_EQ(users_.consoleUser(), std::nullopt);
    ::setenv("SUDO_UID", "1", 1);
    EXPECT_EQ(users_.consoleUser(), "anna");
  });
}

TEST_F(SystemUsers, PassesOverNumbersThatAreNone) {
  inMachine([this] {
    for (const char* number : {"", "x", "1x", "-1", " 1", "99999999999999", "77"}) {
      ::setenv("PKEXEC_UID", number, 1);
      EXPECT_EQ(users_.consoleUser(), std::nullopt) << number;
    }
  });
}

TEST_F(SystemUsers, SeesNobodyWithoutALoginManagerAndATool) {
  inMachine([this] { EXPECT_EQ(users_.consoleUser(), std::nullopt); });
}

// ---- groups

int groupsAskedFor = 0;

/// Tells the user's own group and 100 others.
int listMany(const char*, gid_t own, gid_t* groups, int* count) {
  constexpr int kMany = 101;
  if (*count < kMany) return -1;
  for (int i = 0; i < kMany; ++i) groups[i] = own + static_cast<gid_t>(i);
  *count = kMany;
  return *count;
}

int neverList(const char*, gid_t, gid_t*, int*) {
  ++groupsAskedFor;
  return -1;
}

TEST(GroupsOfAUser, AreListedHoweverManyThereAre) {
  const auto groups = posix::groupsOf("sam", 500, listMany);
  ASSERT_EQ(groups.size(), 101U);
  EXPECT_EQ(groups.front(), 500U);
  EXPECT_EQ(groups.back(), 600U);
}

TEST(GroupsOfAUser, AreTheOwnAloneWhereTheSystemNeverListsThem) {
  groupsAskedFor = 0;
  EXPECT_EQ(posix::groupsOf("sam", 500, neverList), std::vector<gid_t>{500});
  EXPECT_LT(groupsAskedFor, 20);
}

}  // namespace
}  // namespace qm::testing
