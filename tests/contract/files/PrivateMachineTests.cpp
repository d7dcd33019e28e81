// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>

#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

bool exists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

int makeFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0644);
  if (fd < 0) return errno;
  ::close(fd);
  return 0;
}

TEST(PrivateMachine, GivesRootAFolderThatNobodyOutsideSees) {
  const std::string leftBehind = "/tmp/private-machine-test-" + std::to_string(::getpid());
  EXPECT_TRUE(runInPrivateMachine([&] {
    EXPECT_EQ(::geteuid(), 0U);
    EXPECT_EQ(makeFile(machineFolder() + "/inside"), 0);
    mountTmpfs("/tmp", "mode=1777");
    EXPECT_EQ(makeFile(leftBehind), 0);
  }));
  EXPECT_EQ(machineFolder(), "");
  EXPECT_FALSE(exists(leftBehind));
}

/// What a test with `run` prints, and whether it fails: tried in a child, so that this test is not affected.
struct Outcome {
  std::string printed;
  bool failed = false;
};

[[noreturn]] void runAsTest(int output, const std::function<void()>& run) {
  ::dup2(output, STDOUT_FILENO);
  try {
    run();
  } catch (const ::testing::AssertionException&) {  // the exit status of a skipped test
  }
  static_cast<void>(std::fflush(stdout));
  ::_exit(::testing::Test::HasFailure() ? 1 : 0);
}

Outcome outcomeOf(const std::function<void()>& run) {
  static_cast<void>(std::fflush(stdout));
  int pipe[2] = {-1, -1};
  EXPECT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
  const pid_t child = ::fork();
  if (child == 0) runAsTest(pipe[1], run);
  ::close(pipe[1]);
  Outcome outcome;
  char block[4096];
  for (ssize_t got = 0; (got = ::read(pipe[0], block, sizeof block)) > 0;) {
    outcome.printed.append(block, static_cast<std::size_t>(got));
  }
  ::close(pipe[0]);
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  outcome.failed = WIFEXITED(status) && WEXITSTATUS(status) == 1;
  return outcome;
}

void expectReported(const std::function<void()>& run, const std::string& text) {
  const Outcome outcome = outcomeOf(run);
  EXPECT_TRUE(outcome.failed);
  EXPECT_NE(outcome.printed.find(text), std::string::npos) << outcome.printed;
}

TEST(PrivateMachine, ReportsWhatFailsInside) {
  runInPrivateMachine([] {});  // the children below cannot skip this test
  expectReported([] { runInPrivateMachine([] { EXPECT_EQ(1 + 1, 3) << "said inside"; }); }, "said inside");
  expectReported([] { runInPrivateMachine([] { asUser(1000, 1000, [] { FAIL() << "two levels down"; }); }); },
                 "two levels down");
}

TEST(PrivateMachine, ReportsAnEndThatNobodyExplained) {
  expectReported([] { inChild([] { static_cast<void>(::raise(SIGTERM)); }); }, "ended by signal 15");
  expectReported([] { inChild([] { ::_exit(3); }); }, "ended with status 3");
  expectReported([] { inChild([] { throw std::runtime_error("unexpected"); }); }, "threw: unexpected");
}

TEST(PrivateMachine, SkipsTheTestThatNoneCanBeMadeFor) {
  const Outcome outcome = outcomeOf([] {
    failSystemCall(SYS_unshare, EPERM);
    runInPrivateMachine([] { ADD_FAILURE() << "there was a machine"; });
    ADD_FAILURE() << "the test went on";
  });
  EXPECT_FALSE(outcome.failed) << outcome.printed;
  EXPECT_NE(outcome.printed.find("No private machine can be made here: unshare: Operation not permitted"),
            std::string::npos)
      << outcome.printed;
}

TEST(PrivateMachine, ActsAsAnOrdinaryUser) {
  runInPrivateMachine([] {
    const std::string& folder = machineFolder();
    asUser(1000, 1001, [&] {
      EXPECT_EQ(::geteuid(), 1000U);
      EXPECT_EQ(::getegid(), 1001U);
      EXPECT_EQ(::getgroups(0, nullptr), 0);
      EXPECT_EQ(makeFile(folder + "/refused"), EACCES);
    });
    EXPECT_EQ(::geteuid(), 0U);
    EXPECT_EQ(makeFile(folder + "/allowed"), 0);
  });
}

TEST(PrivateMachine, MountsSmallAndReadOnlyVolumes) {
  runInPrivateMachine([] {
    const std::string small = machineFolder() + "/small";
    mountTmpfs(small, "size=64k");
    struct statfs volume {};
    ASSERT_EQ(::statfs(small.c_str(), &volume), 0);
    EXPECT_EQ(static_cast<long>(volume.f_blocks) * volume.f_bsize, 64 * 1024);
    bindMount(small, machineFolder() + "/locked", Writable::No);
    EXPECT_EQ(makeFile(machineFolder() + "/locked/x"), EROFS);
    EXPECT_EQ(makeFile(small + "/x"), 0);
  });
}

TEST(PrivateMachine, FailsTheSystemCallsThatItIsTold) {
  inChild([] {
    failSystemCall(SYS_mkdirat, EIO);
    failSystemCall(SYS_faccessat2, ENOSYS, 3);
    EXPECT_EQ(::syscall(SYS_mkdirat, AT_FDCWD, "/tmp/never-made", 0700), -1);
    EXPECT_EQ(errno, EIO);
    EXPECT_EQ(::syscall(SYS_faccessat2, AT_FDCWD, "/", F_OK, 0), 0);
    EXPECT_EQ(::syscall(SYS_faccessat2, AT_FDCWD, "/", F_OK, AT_EACCESS), -1);
    EXPECT_EQ(errno, ENOSYS);
  });
}

}  // namespace
}  // namespace qm::testing
