// SPDX-License-Identifier: MIT
#pragma once

namespace qm::linux_ {

/// Normalises what a program may inherit in an unusual state, before other threads exist, as on every system
/// (`posix::settleInheritedState`). If there is no session bus, none is started, because it would outlive the program.
void settleInheritedState();

}  // namespace qm::linux_
