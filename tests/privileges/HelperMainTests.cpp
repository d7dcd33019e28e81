// SPDX-License-Identifier: MIT

// For whom a helper works at all, and what it writes to the system log when nobody else can be told.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <cstdlib>

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/AnyToolPolicy.h"
#include "Platform/linux/privileges/helper/HelperMain.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using posix::UniqueFd;

constexpr int kMisused = 2;
// A warning of a user's program.
constexpr const char* kWarning = "<12>";

struct Ended {
  int status = -1;
  std::vector<std::string> logged;
};

// The machine's devices are the null device and a system log that is read here.
UniqueFd ownSystemLog() {
  needRootsOwnSystem();
  mountTmpfs("/dev", "mode=0755");
  EXPECT_EQ(::mknod("/dev/null", S_IFCHR | 0666U, makedev(1, 3)), 0);
  UniqueFd log(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address{AF_UNIX, "/dev/log"};
  EXPECT_EQ(::bind(log.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  return log;
}

// The texts, without the program's name and the time.
std::vector<std::string> textsIn(const UniqueFd& log) {
  std::vector<std::string> texts;
  char block[2048];
  for (ssize_t got = 0; (got = ::recv(log.get(), block, sizeof block, 0)) >= 0;) {
    const std::string text(block, static_cast<std::size_t>(got));
    EXPECT_TRUE(text.starts_with(kWarning)) << text;
    const std::size_t name = text.find("_tests: ");
    texts.push_back(name == std::string::npos ? text : text.substr(name + 8));
  }
  return texts;
}

// A helper for any tool, started by root, as pkexec does it for this caller.
Ended helper(const std::optional<std::string>& caller, std::vector<std::string> arguments) {
  const UniqueFd log = ownSystemLog();
  const pid_t child = ::fork();
  if (child == 0) {
    caller ? ::setenv("PKEXEC_UID", caller->c_str(), 1) : ::unsetenv("PKEXEC_UID");
    arguments.insert(arguments.begin(), "helper");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    ::_exit(linux_::runHelper(linux_::AnyToolPolicy(kProduct), static_cast<int>(arguments.size()), pointers.data()));
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, textsIn(log)};
}

void expectHelper(const std::optional<std::string>& caller, const std::vector<std::string>& arguments, int status,
                  const std::vector<std::string>& logged) {
  const Ended ended = helper(caller, arguments);
  EXPECT_EQ(ended.status, status);
  EXPECT_EQ(ended.logged, logged);
}

TEST(Helper, WorksForNobodyWhoIsNotKnown) {
  runInPrivateMachine([] {
    const std::vector<std::string> unknown = {"the user who needs administrator rights is not known"};
    expectHelper(std::nullopt, {}, kMisused, unknown);
    for (const char* caller : {"", "root", "-1", "+0", " 0", "0x", "0 ", "4294967295", "4294967296",
                               "99999999999999999999999999", "4294967294"}) {
      expectHelper(caller, {}, kMisused, unknown);
      expectHelper(std::nullopt, {"--for", caller, "/bin/true"}, kMisused, unknown);
    }
  });
}

TEST(Helper, WorksForNobodyButItsCaller) {
  runInPrivateMachine([] {
    const std::string made = machineFolder() + "/made";
    expectHelper("65534", {"--for", "0", "/bin/mkdir", made}, kMisused,
                 {"administrator rights granted to another user do not apply to root"});
    EXPECT_FALSE(exists(made));
    expectHelper("0", {"--for", "0", "/bin/mkdir", made}, EXIT_SUCCESS, {});
    EXPECT_TRUE(exists(made));
  });
}

TEST(Helper, DoesNothingThatNoDialogCanShow) {
  runInPrivateMachine([] {
    const std::string folder = machineFolder() + "/a\nb";
    expectHelper("0", {"--for", "0", "/bin/mkdir", folder}, kMisused, {"no dialog can show the command to authorize"});
    EXPECT_FALSE(exists(folder));
    expectHelper(std::nullopt, {"--for", "0", "/bin/mkdir", folder}, EXIT_SUCCESS, {});
    EXPECT_TRUE(exists(folder)) << "where nobody is asked there is no dialog";
  });
}

TEST(Helper, IsNoneWithoutRootsRights) {
  runInPrivateMachine([] {
    const UniqueFd log = ownSystemLog();
    const auto refused = [] {
      char name[] = "helper";
      char* arguments[] = {name, nullptr};
      EXPECT_EQ(::setenv("PKEXEC_UID", "0", 1), 0);
      EXPECT_EQ(linux_::runHelper(linux_::AnyToolPolicy(kProduct), 1, arguments), kMisused);
    };
    asUser(kPerson, kPerson, refused);
    inChild([&] {
      ASSERT_EQ(::setresuid(kPerson, 0, 0), 0);
      refused();
    });
    inChild([&] {
      ASSERT_EQ(::setresuid(0, kPerson, 0), 0);
      refused();
    });
    EXPECT_EQ(textsIn(log), std::vector<std::string>{});
  });
}

TEST(Helper, IsNoneWithoutAConnectionToItsCaller) {
  runInPrivateMachine([] { expectHelper("0", {}, kMisused, {}); });
}

TEST(Helper, WritesToTheSystemLogWhyAToolWasNotStarted) {
  runInPrivateMachine([] {
    expectHelper(std::nullopt, {"--for", "0", "/bin/no-such-tool"}, EXIT_FAILURE,
                 {"/bin/no-such-tool was not started: /bin/no-such-tool: No such file or directory"});
  });
}

TEST(Helper, WritesToTheSystemLogWhatAToolSaysOfItsFailure) {
  runInPrivateMachine([] {
    expectHelper(std::nullopt, {"--for", "0", "/bin/sh", "-c", "printf 'one\\033two\\n' >&2; exit 3"}, EXIT_FAILURE,
                 {"/bin/sh: one two"});
    expectHelper(std::nullopt, {"--for", "0", "/bin/sh", "-c", "exit 3"}, EXIT_FAILURE, {});
    expectHelper(std::nullopt, {"--for", "0", "/bin/sh", "-c", "echo warned >&2"}, EXIT_SUCCESS, {"/bin/sh: warned"});
  });
}

}  // namespace
}  // namespace qm::testing
