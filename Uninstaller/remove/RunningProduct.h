// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <set>
#include <vector>

#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// A process of the product.
struct ProductProcess {
  pid_t id = 0;
  uid_t user = 0;
};

/// The processes with the product's name that run for one of these users.
std::vector<ProductProcess> runningProduct(const std::set<uid_t>& users);

/// Ends the processes, or asks them to end, and returns those still running. With `IfRunning::Refuse` it does nothing
/// to them. A process that is asked to quit has ten seconds; one that is ended has five before it is killed.
std::vector<ProductProcess> endProduct(const std::set<uid_t>& users, IfRunning how);

}  // namespace qm::removal
