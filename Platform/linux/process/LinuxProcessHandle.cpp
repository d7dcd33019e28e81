// SPDX-License-Identifier: MIT
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/ProcessHandle.h"

namespace qm::posix {
namespace {

// The C library's own header for these two calls cannot be used from C++ before its version 2.37.
int openDescriptor(pid_t process) { return static_cast<int>(::syscall(SYS_pidfd_open, process, 0U)); }

void sendSignal(int descriptor, int number) { ::syscall(SYS_pidfd_send_signal, descriptor, number, nullptr, 0U); }

int waitFor(int descriptor, siginfo_t* exit, int options) {
  int result = 0;
  do {
    result = ::waitid(P_PIDFD, static_cast<id_t>(descriptor), exit, options);
  } while (result < 0 && errno == EINTR);
  return result;
}

}  // namespace

ProcessHandle ProcessHandle::open(pid_t process) {
  return {aboveStandardStreams(UniqueFd(openDescriptor(process))), process};
}

void ProcessHandle::waitForExit() const {
  siginfo_t exit{};
  // A failure means that the child has already been reaped.
  waitFor(descriptor(), &exit, WEXITED | WNOWAIT);
}

std::optional<int> ProcessHandle::reap() const {
  siginfo_t exit{};
  if (waitFor(descriptor(), &exit, WEXITED | WNOHANG) < 0) return kUnknownStatus;
  if (exit.si_pid == 0) return std::nullopt;
  return exit.si_status;
}

void ProcessHandle::signal(int number) const { sendSignal(descriptor(), number); }

}  // namespace qm::posix
