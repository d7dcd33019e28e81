// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// A process of the product.
struct ProductProcess {
  pid_t id = 0;
  uid_t user = 0;
};

/// What the system tells about processes, see ThisSystem.h.
struct ProcessList {
  std::function<std::vector<pid_t>()> all;
  std::function<std::string(pid_t process)> nameOf;
  std::function<std::optional<uid_t>(pid_t process)> userOf;
};

/// This computer's processes.
ProcessList systemProcesses();

/// The processes with the product's name that run for one of these users.
std::vector<ProductProcess> runningProduct(const std::set<uid_t>& users,
                                           const ProcessList& processes = systemProcesses());

/// Ends the processes, or asks them to end, and returns those still running. With `IfRunning::Refuse` it does nothing
/// to them. A process that is asked to quit has ten seconds; one that is ended has five before it is killed.
///
/// Some systems have no handle for a process that is not a child, so another process may have got the number meanwhile.
/// Therefore name and user are read again right before each signal. If they have changed, no signal is sent.
std::vector<ProductProcess> endProduct(const std::set<uid_t>& users, IfRunning how,
                                       const ProcessList& processes = systemProcesses());

}  // namespace qm::removal
