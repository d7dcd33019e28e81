#include "Platform/linux/system/ProcessState.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

namespace qm::linux_ {

void settleInheritedState() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    // The lowest free number is the missing one, since those below it are there by now.
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);  // children get it too
  }
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

}  // namespace qm::linux_
