// SPDX-License-Identifier: MIT

// Which programs are started, and in what state.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <csignal>

#include <cerrno>
#include <sstream>

#include "tests/privileges/LaunchMachine.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

TEST(ToolOfRoots, GetsItsArgumentsAsTheyAre) {
  const std::vector<std::string> arguments = {"-c", "printf '%s|' \"$0\" \"$@\"", "zero", "", "a b", "-x", "new\nline"};
  EXPECT_EQ(launch("/bin/sh", arguments).output, "zero||a b|-x|new\nline|");
}

TEST(ToolOfRoots, HasACleanEnvironment) {
  EXPECT_EQ(launch("/usr/bin/env", {}).output, "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLC_ALL=C.UTF-8\n");
}

TEST(ToolOfRoots, HasOnlyItsStandardStreams) {
  const Outcome outcome = launch("/bin/sh", {"-c", "ls /proc/$$/fd; cat"});
  std::istringstream lines(outcome.output);
  std::vector<std::string> descriptors;
  for (std::string line; std::getline(lines, line);) descriptors.push_back(line);
  EXPECT_EQ(descriptors, (std::vector<std::string>{"0", "1", "2"}));
  EXPECT_EQ(outcome.waitStatus, 0) << "standard input must be at its end";
}

TEST(ToolOfRoots, BlocksNoSignal) {
  sigset_t end;
  sigemptyset(&end);
  sigaddset(&end, SIGTERM);
  inChild([&] {
    ASSERT_EQ(::sigprocmask(SIG_BLOCK, &end, nullptr), 0);
    EXPECT_EQ(launch("/bin/grep", {"SigBlk", "/proc/self/status"}).output, "SigBlk:\t0000000000000000\n");
  });
}

TEST(ToolOfRoots, IsNotStartedWhenItIsMissing) {
  EXPECT_EQ(launch("/usr/bin/no-such-tool", {}).error, ENOENT);
  EXPECT_EQ(launch("/no-such-folder/tool", {}).error, ENOENT);
  EXPECT_EQ(launch("relative", {}).error, EINVAL);
  EXPECT_EQ(launch("", {}).error, EINVAL);
}

TEST(ToolOfRoots, IsNotStartedWhenItCannotBeExecuted) {
  runInPrivateMachine([] {
    makeFile(machineFolder() + "/tool", "#!/bin/sh\n");
    EXPECT_EQ(launch(machineFolder() + "/tool", {}).error, EACCES);
    EXPECT_EQ(launch(machineFolder(), {}).error, EACCES);
  });
}

TEST(ToolOfRoots, IsNotStartedWhenAPersonCanChangeIt) {
  runInPrivateMachine([] {
    makeFolder(machineFolder() + "/home", kPerson);
    makeFile(machineFolder() + "/home/tool", "#!/bin/sh\n", 0, 0755);
    makeFile(machineFolder() + "/his", "#!/bin/sh\n", kPerson, 0755);
    makeFile(machineFolder() + "/open", "#!/bin/sh\n", 0, 0777);
    makeFile(machineFolder() + "/roots", "#!/bin/sh\necho runs\n", 0, 0755);
    EXPECT_EQ(launch(machineFolder() + "/home/tool", {}).error, EPERM);
    EXPECT_EQ(launch(machineFolder() + "/his", {}).error, EPERM);
    EXPECT_EQ(launch(machineFolder() + "/open", {}).error, EPERM);
    EXPECT_EQ(launch(machineFolder() + "/roots", {}).output, "runs\n");
  });
}

TEST(ToolOfRoots, IsReportedWithItsExitStatusAndItsErrors) {
  const Outcome outcome = launch("/bin/sh", {"-c", "echo one >&2; echo two >&2; exit 3"});
  EXPECT_EQ(WEXITSTATUS(outcome.waitStatus), 3);
  EXPECT_EQ(outcome.note, "one two");
  EXPECT_EQ(launch("/bin/sh", {"-c", "printf 'one\\0two\\n\\n' >&2"}).note, "one two") << "a text in one line";
}

TEST(ToolOfRoots, MayWriteMoreErrorsThanAreKept) {
  const Outcome outcome = launch("/bin/sh", {"-c", "head -c 1000000 /dev/zero | tr '\\0' x >&2"});
  EXPECT_EQ(outcome.waitStatus, 0);
  EXPECT_EQ(outcome.note, std::string(700, 'x'));
}

TEST(ToolOfRoots, GetsLongArgumentsUpToTheSystemsLimit) {
  const auto length = [](std::size_t size) {
    return launch("/bin/sh", {"-c", "printf %s ${#1}", "sh", std::string(size, 'x')});
  };
  EXPECT_EQ(length(131000).output, "131000");
  EXPECT_EQ(length(132000).error, E2BIG);
}

TEST(ToolOfRoots, MayLeaveSomebodyBehindWhoHoldsItsErrors) {
  const Outcome outcome = launch("/bin/sh", {"-c", "echo note >&2; sleep 1000 >/dev/null & echo $!"});
  EXPECT_EQ(outcome.waitStatus, 0);
  EXPECT_EQ(outcome.note, "note");
  const Outcome ended = launch("/bin/kill", {"-KILL", outcome.output.substr(0, outcome.output.find('\n'))});
  EXPECT_EQ(ended.waitStatus, 0);
}

}  // namespace
}  // namespace qm::testing
