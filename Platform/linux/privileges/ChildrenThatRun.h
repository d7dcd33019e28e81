// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::linux_ {

/// Returns when no child of this process is running this program file any more, nor `env`, which is about to start it.
/// The children are left to be reaped by whoever started them. Any thread.
void waitForChildrenThatRun(const std::string& program);

}  // namespace qm::linux_
