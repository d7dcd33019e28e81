// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/CleanProcess.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>
#include <csignal>
#include <cstdlib>

#include <array>
#include <cerrno>
#include <initializer_list>

namespace qm::linux_ {
namespace {

constexpr rlim_t kMostDescriptors = 4096;
constexpr rlim_t kStack = 8U << 20U;

bool closeInherited() { return ::syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, 0U) == 0; }

// A timer survives exec, and its signal would end this program.
void stopTimers() {
  const itimerval none{};
  for (const auto timer : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) ::setitimer(timer, &none, nullptr);
}

// The C library reserves two signals and would leave those as they are, so the kernel is called directly.
bool resetSignals() {
  constexpr std::array<unsigned long, 4> standard{};  // handler, flags, restorer, mask
  for (int number = 1; number < NSIG; ++number) {
    ::syscall(SYS_rt_sigaction, number, standard.data(), nullptr, sizeof(unsigned long));
  }
  sigset_t none;
  sigemptyset(&none);
  return ::sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
}

bool setLimit(__rlimit_resource resource, rlim_t value) {
  const rlimit limit{value, value};
  return ::setrlimit(resource, &limit) == 0;
}

// The limit of processes does not apply to root.
bool resetLimits() {
  bool done = true;
  for (const auto resource : {RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_DATA, RLIMIT_AS, RLIMIT_RSS}) {
    done = setLimit(resource, RLIM_INFINITY) && done;
  }
  done = setLimit(RLIMIT_STACK, kStack) && done;
  done = setLimit(RLIMIT_NOFILE, kMostDescriptors) && done;
  return setLimit(RLIMIT_CORE, 0) && done;
}

bool clearEnvironment() { return ::clearenv() == 0 && ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1) == 0; }

}  // namespace

bool becomeCleanProcess() {
  stopTimers();
  ::prctl(PR_SET_PDEATHSIG, 0);
  ::umask(022);
  ::setpriority(PRIO_PROCESS, 0, 0);
  const bool own = ::setsid() >= 0 || errno == EPERM;  // already the leader of its session
  return resetSignals() && closeInherited() && resetLimits() && clearEnvironment() && own && ::chdir("/") == 0 &&
         ::prctl(PR_SET_DUMPABLE, 0) == 0;
}

}  // namespace qm::linux_
