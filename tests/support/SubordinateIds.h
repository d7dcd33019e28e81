#pragma once

#include <sys/types.h>

namespace qm::testing {

/// Maps ids into the user namespace of `child`: its root is the caller, and the ids from 1 on are the
/// ones that the system lends to the caller (/etc/subuid and newuidmap). Without such a loan only
/// root is mapped. Answers whether anything could be mapped.
bool mapSubordinateIds(pid_t child);

}  // namespace qm::testing
