#pragma once

#include <sys/types.h>

#include <set>
#include <vector>

#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// A process of the product's.
struct ProductProcess {
  pid_t id = 0;
  uid_t user = 0;
};

/// The processes named like the product that run for one of these users.
std::vector<ProductProcess> runningProduct(const std::set<uid_t>& users);

/// Ends them, or asks them to: those that run afterwards. With `IfRunning::Refuse` nothing is done to them. Asked, a
/// process has ten seconds to quit; one that is ended has five before it is killed.
std::vector<ProductProcess> endProduct(const std::set<uid_t>& users, IfRunning how);

}  // namespace qm::removal
