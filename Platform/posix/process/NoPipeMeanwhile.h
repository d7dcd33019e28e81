// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

namespace qm::posix {

/// As long as the lock is held, no pipe is made that a program which another library starts could inherit: whoever
/// inherits the writing end keeps the reader from ever seeing the end. Only on systems that cannot make a pipe and keep
/// it from other programs in one step. Must not be held while a pipe is made. Any thread.
std::unique_lock<std::mutex> noPipeMeanwhile();

}  // namespace qm::posix
