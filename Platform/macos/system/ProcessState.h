// SPDX-License-Identifier: MIT
#pragma once

namespace qm::macos {

/// Settles what a process may inherit in an odd state: missing standard streams, ignored or deadly signals. Before
/// there are other threads.
void settleInheritedState();

}  // namespace qm::macos
