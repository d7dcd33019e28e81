// SPDX-License-Identifier: MIT
#pragma once

namespace qm::linux_ {

/// Resets everything that the user may have set for this process before it got its rights: descriptors above the
/// standard streams, environment, working folder, umask, session, signals, timers, priority and limits. Returns false
/// if something cannot be reset.
bool becomeCleanProcess();

}  // namespace qm::linux_
