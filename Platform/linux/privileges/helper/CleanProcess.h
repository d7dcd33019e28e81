// SPDX-License-Identifier: MIT
#pragma once

namespace qm::linux_ {

/// Resets everything that the user may have set for this process before it got its rights, and that could make its work
/// fail or do harm: descriptors above the standard streams, environment, working folder, umask, session, signals,
/// timers, priority, and the limits of time, sizes, memory and descriptors. Returns false if the signals' mask,
/// descriptors, limits, environment, session or folder cannot be reset.
bool becomeCleanProcess();

}  // namespace qm::linux_
