// SPDX-License-Identifier: MIT
#pragma once

#include <sys/wait.h>

#include <cerrno>

namespace qm::posix {

/// Blocks until a child of this process has ended, reaps it and returns its wait status.
inline int waitForChild(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace qm::posix
