// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

namespace qm::posix {

/// While the returned lock is held, no other thread creates a pipe. Hold it while another library starts a program, so
/// that the program inherits no end of a pipe: a program that has the writing end keeps the reader from ever seeing the
/// end of the data. Only on systems that cannot create a pipe close-on-exec in one step. The thread that holds the lock
/// must not create a pipe. Any thread.
std::unique_lock<std::mutex> noPipeMeanwhile();

}  // namespace qm::posix
