// SPDX-License-Identifier: MIT
#include "Platform/linux/system/ProcessState.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>

#include "Platform/linux/system/Environment.h"

namespace qm::linux_ {
namespace {

bool hasSessionBus() {
  if (environmentValue("DBUS_SESSION_BUS_ADDRESS")) return true;
  const std::optional<std::string> runtime = environmentValue("XDG_RUNTIME_DIR");
  return runtime && ::access((*runtime + "/bus").c_str(), F_OK) == 0;
}

}  // namespace

void settleInheritedState() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    // The lowest free number is the missing one, because those below it are open by now.
    if (::fcntl(stream, F_GETFD) < 0) ::open("/dev/null", O_RDWR);  // children inherit it
  }
  static_cast<void>(std::signal(SIGCHLD, SIG_DFL));
  for (const int signal : {SIGPIPE, SIGXFSZ}) static_cast<void>(std::signal(signal, SIG_IGN));
  // There are no other threads yet.
  if (!hasSessionBus()) ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace qm::linux_
