// SPDX-License-Identifier: MIT

// Tools with administrator rights.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/privileges/PolkitTest.h"

namespace qm::testing {
namespace {

using namespace platform;  // the names of Authorization Services are long enough as they are
using ::testing::HasSubstr;
using ::testing::SizeIs;

// MARK: - Tools

TEST_P(AdministratorRights, GiveTheWholeOutput) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_THAT(application.outputOf("/usr/bin/head", {"-c", "10000000", "/dev/zero"}), SizeIs(10000000));
    application.end();
  });
}

TEST_P(AdministratorRights, TakeArgumentsUpToTheLimits) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    const auto echo = [](std::size_t size) { return std::vector<std::string>{"-n", std::string(size, 'x')}; };
    EXPECT_THAT(application.outputOf("/bin/echo", echo(131000)), SizeIs(131000));
    EXPECT_EQ(application.start("/bin/echo", echo(132000)), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.outputOf("/bin/echo", std::vector<std::string>(4096, "x")).size(), 2 * 4096U);
    EXPECT_EQ(application.start("/bin/echo", std::vector<std::string>(4097, "x")), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/bin/echo", {std::string("a\0b", 3)}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.outputOf("/bin/echo", {"still there"}), "still there\n");
    application.end();
  });
}

TEST_P(AdministratorRights, SayWhyAToolIsNotStarted) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.start("/usr/bin/no-such-tool", {}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/etc/passwd", {}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.start("/home/sam", {}), errAuthorizationToolExecuteFailure);
    EXPECT_EQ(application.console.text(),
              "/usr/bin/no-such-tool was not started: /usr/bin/no-such-tool: No such file or directory\n"
              "/etc/passwd was not started: /etc/passwd: Permission denied\n"
              "/home/sam was not started: /home/sam: Permission denied\n");
    application.end();
  });
}

TEST_P(AdministratorRights, SayThatAToolFailed) {
  asAccount(GetParam(), [] {
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.start("/bin/ls", {"/run/missing"}), errAuthorizationSuccess);
    EXPECT_TRUE(application.console.waitFor(
        "/bin/ls failed with status 2: /bin/ls: cannot access '/run/missing': No such file or directory\n"))
        << application.console.text();
    EXPECT_EQ(application.start("/bin/mv", {"-f", "/run/missing", "/run/new"}), errAuthorizationToolExecuteFailure);
    EXPECT_TRUE(application.console.waitFor(
        "/bin/mv was not started: /run/missing: No such file or directory; left as it was: /run/missing\n"))
        << application.console.text();
    EXPECT_EQ(application.start("/bin/sh", {"-c", "kill -KILL $$"}), errAuthorizationSuccess);
    EXPECT_TRUE(application.console.waitFor("/bin/sh was ended by signal 9\n"));
    application.end();
  });
}

TEST_P(AdministratorRights, GiveToolsACleanStart) {
  asAccount(GetParam(), [] {
    ASSERT_EQ(::setenv("LD_PRELOAD", "/tmp/evil.so", 1), 0);
    ASSERT_EQ(::setenv("BASH_ENV", "/tmp/evil.sh", 1), 0);
    ::umask(0);
    ASSERT_EQ(::chdir("/tmp"), 0);
    const rlimit little{10U << 20U, RLIM_INFINITY};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &little), 0);
    ::signal(SIGTERM, SIG_IGN);
    Application application;
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.outputOf("/usr/bin/env", {}), "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLC_ALL=C.UTF-8\n");
    EXPECT_EQ(application.outputOf("/bin/sh", {"-c", "pwd; umask; ulimit -f; ulimit -c; id -Gn"}),
              "/\n0022\nunlimited\n0\nroot\n");
    EXPECT_EQ(application.outputOf("/bin/sh", {"-c", "grep SigIgn /proc/$$/status"}), "SigIgn:\t0000000000000000\n");
    EXPECT_EQ(application.outputOf("/bin/ls", {"/proc/self/fd"}), "0\n1\n2\n3\n") << "3 is the folder that is listed";
    application.end();
  });
}

// MARK: - The Trash

TEST_P(AdministratorRights, MoveToTheTrashWhatThePersonCanThenSeeRestoreAndDelete) {
  std::filesystem::create_directories("/Applications/Tessaly.app/Contents");
  std::ofstream("/Applications/Tessaly.app/Contents/Info.plist") << "contents";
  asAccount(GetParam(), [] {
    namespace fs = std::filesystem;
    const std::string home = std::string("/home/") + GetParam().name;
    fs::create_directories(home + "/.local/share/Trash/files");
    fs::create_directories(home + "/.local/share/Trash/info");
    fs::create_symlink(".local/share/Trash/files", home + "/.Trash");
    Application application(linux_::HelperScope::Product);
    ASSERT_EQ(application.open(kAnna), errAuthorizationSuccess);
    EXPECT_EQ(application.outputOf("/bin/mv", {"-f", "/Applications/Tessaly.app", home + "/.Trash/Tessaly.app"}), "");
    application.end();
    EXPECT_THAT(fileText(home + "/.local/share/Trash/info/Tessaly.app.trashinfo"),
                HasSubstr("[Trash Info]\nPath=/Applications/Tessaly.app\nDeletionDate="));
    std::error_code error;
    fs::rename(home + "/.Trash/Tessaly.app", home + "/restored", error);
    EXPECT_FALSE(error) << error.message();
    fs::remove_all(home + "/restored", error);
    EXPECT_FALSE(error) << error.message();
    fs::remove(home + "/.Trash", error);
    fs::remove_all(home + "/.local", error);
    EXPECT_FALSE(error) << error.message();
  });
  EXPECT_FALSE(std::filesystem::exists("/Applications/Tessaly.app"));
}

}  // namespace
}  // namespace qm::testing
