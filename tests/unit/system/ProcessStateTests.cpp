// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Platform/linux/system/ProcessState.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

std::string openAt(int descriptor) {
  return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor)).string();
}

sighandler_t handlerOf(int signalNumber) {
  struct sigaction current {};
  ::sigaction(signalNumber, nullptr, &current);
  return current.sa_handler;
}

TEST(InheritedState, FillsMissingStandardStreamsWithTheNullDevice) {
  inChild([] {
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    ::close(STDERR_FILENO);
    linux_::settleInheritedState();
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
      EXPECT_EQ(openAt(stream), "/dev/null") << stream;
      EXPECT_EQ(::fcntl(stream, F_GETFD), 0) << stream;
    }
  });
}

TEST(InheritedState, LeavesStreamsThatAreThere) {
  inChild([] {
    ::close(STDIN_FILENO);
    ASSERT_EQ(::open("/dev/zero", O_RDONLY), STDIN_FILENO);
    const std::string output = openAt(STDOUT_FILENO);
    linux_::settleInheritedState();
    EXPECT_EQ(openAt(STDIN_FILENO), "/dev/zero");
    EXPECT_EQ(openAt(STDOUT_FILENO), output);
  });
}

TEST(InheritedState, HearsOfChildrenAgainAndSurvivesABrokenPipeAndALimitOfSizes) {
  inChild([] {
    ::signal(SIGCHLD, SIG_IGN);
    ::signal(SIGPIPE, SIG_DFL);
    ::signal(SIGXFSZ, SIG_DFL);
    linux_::settleInheritedState();
    EXPECT_EQ(handlerOf(SIGCHLD), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGPIPE), SIG_IGN);
    EXPECT_EQ(handlerOf(SIGXFSZ), SIG_IGN);
  });
}

constexpr const char* kBusAddress = "DBUS_SESSION_BUS_ADDRESS";

TEST(InheritedState, StartsNoSessionBusWhereThereIsNone) {
  inChild([] {
    ::unsetenv(kBusAddress);
    ::setenv("XDG_RUNTIME_DIR", "/nowhere", 1);
    linux_::settleInheritedState();
    EXPECT_STREQ(::getenv(kBusAddress), "disabled:");

    ::unsetenv(kBusAddress);
    ::unsetenv("XDG_RUNTIME_DIR");
    linux_::settleInheritedState();
    EXPECT_STREQ(::getenv(kBusAddress), "disabled:");
  });
}

TEST(InheritedState, LeavesTheSessionBusThatIsThere) {
  inChild([] {
    ::setenv(kBusAddress, "unix:path=/somewhere", 1);
    linux_::settleInheritedState();
    EXPECT_STREQ(::getenv(kBusAddress), "unix:path=/somewhere");

    char folder[] = "/tmp/runtime-XXXXXX";
    ASSERT_NE(::mkdtemp(folder), nullptr);
    std::ofstream(std::string(folder) + "/bus") << "a socket, by the look of it";
    ::unsetenv(kBusAddress);
    ::setenv("XDG_RUNTIME_DIR", folder, 1);
    linux_::settleInheritedState();
    EXPECT_EQ(::getenv(kBusAddress), nullptr);
    std::filesystem::remove_all(folder);
  });
}

}  // namespace
}  // namespace qm::testing
