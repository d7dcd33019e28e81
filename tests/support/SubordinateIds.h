// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

namespace qm::testing {

/// Maps ids into the user namespace of `child`. For root all ids keep their values; for others the namespace's root is
/// the caller, and the ids from 1 on are the caller's subordinate ids (/etc/subuid and newuidmap). Returns whether all
/// of that succeeded.
bool mapIds(pid_t child);

}  // namespace qm::testing
