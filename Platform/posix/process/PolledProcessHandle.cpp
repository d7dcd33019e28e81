// SPDX-License-Identifier: MIT

// `ProcessHandle` on systems whose calls accept no descriptor of a process. It polls its descriptor to learn whether
// the child has exited. The calls get the process id, which is not reused before the child is reaped. Each such system
// implements `open`.
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

#include "Platform/posix/process/ProcessHandle.h"
#include "Platform/posix/process/Readable.h"

namespace qm::posix {

void ProcessHandle::waitForExit() const { isReadable(descriptor(), kWithoutLimit); }

std::optional<int> ProcessHandle::reap() const {
  if (!isReadable(descriptor(), 0)) return std::nullopt;
  int status = 0;
  pid_t found = 0;
  do {
    found = ::waitpid(process_, &status, 0);  // it has exited: this does not block
  } while (found < 0 && errno == EINTR);
  if (found != process_) return kUnknownStatus;
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

/// Nothing is sent to a child that has ended, because its id may be reused once other code has reaped it. Without a
/// process there is no id: kill(2) would send the signal to every process.
void ProcessHandle::signal(int number) const {
  if (*this && !isReadable(descriptor(), 0)) ::kill(process_, number);
}

}  // namespace qm::posix
