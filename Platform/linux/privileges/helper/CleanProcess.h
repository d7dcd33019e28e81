#pragma once

namespace qm::linux_ {

/// Leaves nothing of what a person set for this process before it got its rights: descriptors over the
/// standard streams, environment, working folder, mask, session, signals, timers, priority and limits.
/// False when something of that cannot be had.
bool becomeCleanProcess();

}  // namespace qm::linux_
