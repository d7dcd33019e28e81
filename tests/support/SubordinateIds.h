#pragma once

#include <sys/types.h>

namespace qm::testing {

/// Maps ids into the user namespace of `child`. For root everybody keeps his own; for others the namespace's root is
/// the caller, and the ids from 1 on are the ones that the system lends to the caller (/etc/subuid and newuidmap).
/// Returns whether that is all done.
bool mapIds(pid_t child);

}  // namespace qm::testing
