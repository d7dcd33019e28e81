// SPDX-License-Identifier: MIT
#pragma once

namespace qm::linux_ {

/// Resets what the user may have set for this process before it got its rights and what could make its work fail or do
/// harm: descriptors above the standard streams, environment, working folder, umask, session, signals, timers,
/// priority, and the limits of time, sizes, memory and descriptors. Returns false if something cannot be reset.
bool becomeCleanProcess();

}  // namespace qm::linux_
