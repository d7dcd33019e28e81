#include "Platform/linux/system/ProcessState.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace qm::linux_ {

void settleInheritedState() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    // The lowest free number is the missing one, since those below it are there by now.
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);  // children get it too
  }
  ::signal(SIGCHLD, SIG_DFL);
  ::signal(SIGPIPE, SIG_IGN);
}

}  // namespace qm::linux_
