// SPDX-License-Identifier: MIT

// The driver itself, on bodies whose calls are known.

#include "tests/faults/FaultDriver.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <thread>

#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

using std::chrono::steady_clock;

std::string at(const std::string& name) { return machineFolder() + "/" + name; }
bool exists(const std::string& name) { return std::filesystem::exists(at(name)); }
bool make(const std::string& name) { return ::syscall(SYS_mkdirat, AT_FDCWD, at(name).c_str(), 0755) == 0; }
void waitFor(pid_t child) {
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void reset() {
  for (const char* name : {"one", "two", "three", "late"}) std::filesystem::remove_all(at(name));
}

Call mkdirCall(int occurrence, const std::string& task = "1") { return {task, SYS_mkdirat, occurrence}; }

// Creates three folders; the result tells which could not be created.
int makeThree() {
  const CountedCalls counted;
  return (make("one") ? 0 : 1) + (make("two") ? 0 : 2) + (make("three") ? 0 : 4);
}

// A process of its own for the one in the middle.
int makeWithAChild() {
  const CountedCalls counted;
  if (!make("one")) return 1;
  const pid_t child = ::fork();
  if (child == 0) ::_exit(make("two") ? 0 : 1);
  waitFor(child);
  return make("three") ? 0 : 4;
}

std::string startProgram(const std::string& name) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl("/bin/mkdir", "mkdir", at(name).c_str(), nullptr);
    ::_exit(127);
  }
  int status = -1;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return std::to_string(status);
}

class Driver : public ::testing::Test {
 protected:
  static void run(const std::function<void()>& body) { runInPrivateMachine(body); }

  static TracedRun with(Deed deed, const Call& call, const std::function<int()>& body, int error = 0) {
    reset();
    const TracedRun run = driver().run(body, {deed, call, error});
    EXPECT_EQ(run.problem, "");
    EXPECT_TRUE(run.met) << describe(call);
    return run;
  }

  static FaultDriver driver() { return FaultDriver(fileCalls()); }
};

TEST_F(Driver, CountsTheCallsBetweenTheMarks) {
  run([] {
    const TracedRun traced = driver().run([] {
      make("two");
      const int made = makeThree();
      make("late");
      return made;
    });
    ASSERT_EQ(traced.problem, "");
    EXPECT_EQ(traced.end, End::Returned);
    EXPECT_EQ(traced.status, 2);
    EXPECT_EQ(traced.calls, (std::vector<Call>{mkdirCall(1), mkdirCall(2), mkdirCall(3)}));
    EXPECT_TRUE(exists("late"));
  });
}

TEST_F(Driver, CountsEveryCallUnlessTold) {
  run([] {
    const auto body = [] {
      const CountedCalls counted;
      return ::syscall(SYS_getpid) > 0 && make("one") ? 0 : 1;
    };
    EXPECT_EQ(FaultDriver().run(body).calls, (std::vector<Call>{{"1", SYS_getpid, 1}, mkdirCall(1)}));
    EXPECT_EQ(driver().run(body).calls, std::vector<Call>{mkdirCall(1)});
  });
}

TEST_F(Driver, FailsOneCallWithoutMakingIt) {
  run([] {
    for (const int error : {EIO, ENOSPC, EROFS, EDQUOT, EMFILE, ENOMEM, EINTR}) {
      const TracedRun traced = with(
          Deed::Fail, mkdirCall(2),
          [error] {
            const CountedCalls counted;
            if (!make("one")) return 1;
            if (make("two") || errno != error) return 2;
            return make("three") ? 42 : 3;
          },
          error);
      EXPECT_EQ(traced.end, End::Returned);
      EXPECT_EQ(traced.status, 42) << error;
      EXPECT_TRUE(exists("one") && !exists("two") && exists("three"));
    }
  });
}

TEST_F(Driver, ClosesADescriptorAlthoughThatFails) {
  run([] {
    EXPECT_EQ(with(
                  Deed::Fail, {"1", SYS_close, 1},
                  [] {
                    const int fd = ::open("/", O_PATH | O_CLOEXEC);
                    const CountedCalls counted;
                    if (::close(fd) == 0 || errno != EIO) return 1;
                    return ::fcntl(fd, F_GETFD) < 0 && errno == EBADF ? 42 : 2;
                  },
                  EIO)
                  .status,
              42);
  });
}

TEST_F(Driver, EndsTheBodyBeforeACall) {
  run([] {
    EXPECT_EQ(with(Deed::KillBefore, mkdirCall(2), makeThree).end, End::Killed);
    EXPECT_TRUE(exists("one") && !exists("two") && !exists("three"));
  });
}

TEST_F(Driver, EndsTheBodyAfterACall) {
  run([] {
    EXPECT_EQ(with(Deed::KillAfter, mkdirCall(2), makeThree).end, End::Killed);
    EXPECT_TRUE(exists("one") && exists("two") && !exists("three"));
  });
}

TEST_F(Driver, FollowsChildren) {
  run([] {
    EXPECT_EQ(with(Deed::Fail, mkdirCall(1, "1.1"), makeWithAChild, EIO).status, 0);
    EXPECT_TRUE(exists("one") && !exists("two") && exists("three"));
    EXPECT_EQ(with(Deed::KillBefore, mkdirCall(1, "1.1"), makeWithAChild).end, End::Killed);
    EXPECT_TRUE(exists("one") && !exists("two") && !exists("three")) << "the parent did not see the child's end";
    EXPECT_EQ(with(Deed::KillAfter, mkdirCall(1, "1.1"), makeWithAChild).end, End::Killed);
    EXPECT_TRUE(exists("one") && exists("two") && !exists("three"));
  });
}

TEST_F(Driver, FollowsProgramsOfOtherFiles) {
  run([] {
    const auto body = [] {
      const CountedCalls counted;
      return startProgram("one") == "0" ? 0 : 1;
    };
    const TracedRun traced = driver().run(body);
    EXPECT_EQ(traced.status, 0);
    EXPECT_THAT(traced.calls, ::testing::Contains(Call{"1.1", SYS_execve, 1}));
    EXPECT_GT(traced.calls.size(), 10U) << "the loader's, too";
    EXPECT_EQ(with(Deed::Fail, {"1.1", SYS_read, 1}, body, EIO).status, 1) << "the loader cannot read a library";
    EXPECT_FALSE(exists("one"));
  });
}

TEST_F(Driver, EndsAfterAProgramHasTakenOver) {
  run([] {
    EXPECT_EQ(with(Deed::KillAfter, {"1.1", SYS_execve, 1},
                   [] {
                     const CountedCalls counted;
                     return startProgram("one") == "0" ? 0 : 1;
                   })
                  .end,
              End::Killed);
    EXPECT_FALSE(exists("one"));
  });
}

TEST_F(Driver, FollowsThreads) {
  run([] {
    const auto body = [] {
      const CountedCalls counted;
      std::thread([] { make("one"); }).join();
      return make("two") ? 0 : 1;
    };
    EXPECT_THAT(FaultDriver().run(body).calls, ::testing::Contains(mkdirCall(1, "1.1")));
    reset();
    EXPECT_THAT(driver().run(body).calls, ::testing::Not(::testing::Contains(mkdirCall(1, "1.1"))));
    EXPECT_TRUE(exists("one") && exists("two"));
  });
}

TEST_F(Driver, EndsWhatTheBodyLeavesBehind) {
  run([] {
    // The grandchild waits for an end that never comes; its own parent is gone.
    const TracedRun traced = with(Deed::KillBefore, mkdirCall(1), [] {
      const CountedCalls counted;
      const pid_t child = ::fork();
      if (child == 0) {
        if (::fork() == 0) {
          ::pause();
          make("late");
        }
        ::_exit(0);
      }
      waitFor(child);
      return make("one") ? 0 : 1;
    });
    EXPECT_EQ(traced.end, End::Killed);
    EXPECT_EQ(::waitpid(-1, nullptr, __WALL), -1);
    EXPECT_EQ(errno, ECHILD);
    EXPECT_FALSE(exists("late"));
  });
}

TEST_F(Driver, LimitsTheTimeOfARun) {
  run([] {
    const auto begin = steady_clock::now();
    const TracedRun waiting = FaultDriver(allCalls(), std::chrono::milliseconds(300)).run([] { return ::pause(); });
    EXPECT_EQ(waiting.end, End::OutOfTime);
    const TracedRun busy = FaultDriver(allCalls(), std::chrono::milliseconds(300)).run([] {
      while (::syscall(SYS_getpid) > 0) {
      }
      return 0;
    });
    EXPECT_EQ(busy.end, End::OutOfTime);
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(30));
  });
}

TEST_F(Driver, TellsOfADeathOfItsOwn) {
  run([] {
    EXPECT_EQ(driver().run([] { return ::raise(SIGTERM); }).end, End::Died);
    EXPECT_EQ(driver().run([]() -> int { std::abort(); }).end, End::Died);
  });
}

TEST_F(Driver, LetsSignalsPass) {
  run([] {
    static volatile std::sig_atomic_t caught = 0;
    const TracedRun traced = driver().run([] {
      static_cast<void>(std::signal(SIGUSR1, [](int) { caught = 7; }));
      static_cast<void>(std::raise(SIGUSR1));
      return static_cast<int>(caught);
    });
    EXPECT_EQ(traced.status, 7);
  });
}

TEST_F(Driver, SaysWhatItDidNotReach) {
  run([] {
    const TracedRun traced = driver().run(makeThree, {Deed::Fail, mkdirCall(4), EIO});
    EXPECT_FALSE(traced.met);
    EXPECT_EQ(traced.status, 0);
  });
}

TEST_F(Driver, SaysThatTheMachineForbidsIt) {
  run([] {
    inChild([] {
      failSystemCall(SYS_ptrace, EPERM);
      const TracedRun traced = driver().run(makeThree);
      EXPECT_EQ(traced.end, End::NotTraced);
      EXPECT_EQ(traced.problem,
                "this machine does not let a process trace its own child (ptrace): Operation not permitted");
      EXPECT_FALSE(exists("one")) << "the body was not run";
    });
  });
}

TEST_F(Driver, MakesThousandsOfRunsInMinutes) {
  run([] {
    constexpr int runs = 1000;
    const auto begin = steady_clock::now();
    for (int round = 0; round < runs; ++round) {
      ASSERT_EQ(with(Deed::Fail, mkdirCall(1 + round % 3), makeThree, EIO).end, End::Returned);
    }
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(steady_clock::now() - begin);
    std::cout << runs << " runs took " << took.count() << " ms" << std::endl;
    EXPECT_LT(took, std::chrono::seconds(60));
  });
}

}  // namespace
}  // namespace qm::testing
