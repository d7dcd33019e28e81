// SPDX-License-Identifier: MIT
#pragma once

namespace qm::testing {

/// Waits until another thread of this process is blocked in the system call `number`. Returns false if none is after
/// half a minute.
bool waitForThreadIn(long number);

/// Interrupts the thread that is blocked in the system call `number` by a signal, and waits until it is blocked in that
/// call again. Returns false if it is not after half a minute.
bool interruptThreadIn(long number);

}  // namespace qm::testing
