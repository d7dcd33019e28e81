// SPDX-License-Identifier: MIT

// What a privileged program has left of the process in which somebody started it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include "Platform/linux/privileges/helper/CleanProcess.h"
#include "Platform/posix/UniqueFd.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {
namespace {

// In a process of root's that somebody has prepared.
void prepared(const std::function<void()>& preparation, const std::function<void()>& look) {
  runInPrivateMachine([&] {
    needRootsOwnSystem();
    preparation();
    ASSERT_TRUE(linux_::becomeCleanProcess());
    look();
    ::prctl(PR_SET_DUMPABLE, 1);  // for a sanitizer, which looks for leaks at the end
  });
}

rlimit limitOf(__rlimit_resource resource) {
  rlimit limit{};
  EXPECT_EQ(::getrlimit(resource, &limit), 0);
  return limit;
}

// Anybody may do that. The upper limit stays: not every root may raise it again. It can be lower than the value.
void setLower(__rlimit_resource resource, rlim_t value) {
  const rlim_t most = limitOf(resource).rlim_max;
  const rlimit limit{std::min(value, most), most};
  EXPECT_EQ(::setrlimit(resource, &limit), 0) << resource;
}

void expectBoth(__rlimit_resource resource, rlim_t value) {
  EXPECT_EQ(limitOf(resource).rlim_cur, value) << resource;
  EXPECT_EQ(limitOf(resource).rlim_max, value) << resource;
}

TEST(CleanProcess, HasItsStandardStreamsAndNoOtherDescriptor) {
  const auto open = [](int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; };
  prepared(
      [] {
        for (const int number : {STDERR_FILENO + 1, 900}) ASSERT_EQ(::dup2(STDIN_FILENO, number), number);
      },
      [&] {
        for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) EXPECT_TRUE(open(number)) << number;
        for (const int number : {STDERR_FILENO + 1, 900}) EXPECT_FALSE(open(number)) << number;
      });
}

TEST(CleanProcess, HasNoTimer) {
  constexpr int kTimers[] = {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF};
  prepared(
      [&] {
        const itimerval later{{0, 0}, {1000, 0}};
        for (const int timer : kTimers) ASSERT_EQ(::setitimer(static_cast<__itimer_which>(timer), &later, nullptr), 0);
      },
      [&] {
        for (const int timer : kTimers) {
          itimerval left{};
          ASSERT_EQ(::getitimer(static_cast<__itimer_which>(timer), &left), 0);
          EXPECT_EQ(left.it_value.tv_sec, 0) << timer;
        }
      });
}

TEST(CleanProcess, IsNotEndedWithItsParent) {
  prepared([] { ASSERT_EQ(::prctl(PR_SET_PDEATHSIG, SIGUSR1), 0); },
           [] {
             int number = -1;
             ASSERT_EQ(::prctl(PR_GET_PDEATHSIG, &number), 0);
             EXPECT_EQ(number, 0);
           });
}

TEST(CleanProcess, MakesFilesThatOthersMayReadAndNotWrite) {
  for (const mode_t mask : {mode_t{0}, mode_t{0777}}) {
    prepared([&] { ::umask(mask); }, [] { EXPECT_EQ(::umask(0), 022U); });
  }
}

TEST(CleanProcess, IsAsUrgentAsOthers) {
  prepared([] { ASSERT_EQ(::setpriority(PRIO_PROCESS, 0, 15), 0); },
           [] { EXPECT_EQ(::getpriority(PRIO_PROCESS, 0), 0); });
}

TEST(CleanProcess, HasASessionOfItsOwn) {
  const pid_t session = ::getsid(0);
  prepared([] {},
           [&] {
             EXPECT_EQ(::getsid(0), ::getpid());
             EXPECT_NE(::getsid(0), session);
           });
  prepared([] { ASSERT_EQ(::setsid(), ::getpid()); }, [] { EXPECT_EQ(::getsid(0), ::getpid()); });
}

// The C library keeps the two signals below SIGRTMIN to itself, so the system tells what is ignored and blocked.
TEST(CleanProcess, TakesEverySignalAsUsual) {
  prepared(
      [] {
        for (int number = 1; number < NSIG; ++number) {
          if (number != SIGKILL && number != SIGSTOP) static_cast<void>(::signal(number, SIG_IGN));
        }
        sigset_t all;
        sigfillset(&all);
        ASSERT_EQ(::sigprocmask(SIG_SETMASK, &all, nullptr), 0);
      },
      [] {
        std::string status(4096, '\0');
        const posix::UniqueFd file(::open("/proc/self/status", O_RDONLY | O_CLOEXEC));
        ASSERT_GT(::read(file.get(), status.data(), status.size()), 0);
        for (const char* none : {"SigBlk:\t", "SigIgn:\t", "SigCgt:\t"}) {
          EXPECT_NE(status.find(none + std::string(16, '0')), std::string::npos) << status;
        }
      });
}

TEST(CleanProcess, HasTheLimitsOfASystemProgram) {
  constexpr __rlimit_resource kUnlimited[] = {RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_DATA, RLIMIT_AS, RLIMIT_RSS};
  constexpr rlim_t kMuch = rlim_t{1} << 62U;
  // The kernel counts in nanoseconds. A number of seconds that it cannot express so is a limit that is reached at once.
  constexpr rlim_t kManySeconds = rlim_t{1} << 30U;
  prepared(
      [&] {
        for (const auto resource : kUnlimited) setLower(resource, resource == RLIMIT_CPU ? kManySeconds : kMuch);
        for (const auto resource : {RLIMIT_STACK, RLIMIT_CORE}) setLower(resource, 1U << 20U);
        setLower(RLIMIT_NOFILE, 512);
      },
      [&] {
        for (const auto resource : kUnlimited) expectBoth(resource, RLIM_INFINITY);
        expectBoth(RLIMIT_STACK, 8U << 20U);
        expectBoth(RLIMIT_NOFILE, 4096);
        expectBoth(RLIMIT_CORE, 0);
      });
}

TEST(CleanProcess, HasAPathAndNoOtherEnvironment) {
  prepared([] { ASSERT_EQ(::setenv("LD_PRELOAD", "/tmp/evil.so", 1), 0); },
           [] {
             ASSERT_NE(environ[0], nullptr);
             EXPECT_STREQ(environ[0], "PATH=/usr/sbin:/usr/bin:/sbin:/bin");
             EXPECT_EQ(environ[1], nullptr);
           });
}

TEST(CleanProcess, IsInTheRootFolderAndCannotBeInspected) {
  prepared([] { ASSERT_EQ(::chdir("/usr"), 0); },
           [] {
             EXPECT_EQ(std::filesystem::current_path(), "/");
             EXPECT_EQ(::prctl(PR_GET_DUMPABLE), 0);
           });
}

// A program that could not clean up must not go on.
TEST(CleanProcess, IsNoneIfAnythingOfItCannotBeHad) {
  for (const long call : {SYS_close_range, SYS_chdir, SYS_setsid, SYS_prlimit64}) {
    runInPrivateMachine([&] {
      failSystemCall(call, EIO);
      EXPECT_FALSE(linux_::becomeCleanProcess()) << call;
    });
  }
}

}  // namespace
}  // namespace qm::testing
