// SPDX-License-Identifier: MIT
#include "Platform/posix/process/InheritedState.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

void qm::posix::settleInheritedState() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    // The lowest free number is the missing one, because those below it are open by now.
    // Children inherit it.
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);  // NOLINT(android-cloexec-open)
  }
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(std::signal(signal, SIG_IGN));
}
