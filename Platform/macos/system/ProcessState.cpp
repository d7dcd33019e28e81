// SPDX-License-Identifier: MIT
#include "Platform/macos/system/ProcessState.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

void qm::macos::settleInheritedState() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    // The lowest free number is the missing one, since those below it are there by now.
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);  // children get it too
  }
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(std::signal(signal, SIG_IGN));
}
