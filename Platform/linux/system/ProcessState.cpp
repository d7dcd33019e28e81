// SPDX-License-Identifier: MIT
#include "Platform/linux/system/ProcessState.h"

#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "Platform/linux/system/Environment.h"
#include "Platform/posix/process/InheritedState.h"

namespace qm::linux_ {
namespace {

bool hasSessionBus() {
  if (environmentValue("DBUS_SESSION_BUS_ADDRESS")) return true;
  const std::optional<std::string> runtime = environmentValue("XDG_RUNTIME_DIR");
  return runtime && ::access((*runtime + "/bus").c_str(), F_OK) == 0;
}

}  // namespace

void settleInheritedState() {
  posix::settleInheritedState();
  // There are no other threads yet.
  if (!hasSessionBus()) ::setenv("DBUS_SESSION_BUS_ADDRESS", "disabled:", 1);  // NOLINT(concurrency-mt-unsafe)
}

}  // namespace qm::linux_
