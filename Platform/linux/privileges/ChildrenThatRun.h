// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::linux_ {

/// Returns when no child of this process is running this program file any more, and none is about to: neither one that
/// runs `env`, nor one so new that it still runs the program of this process. The children are left to be reaped by
/// whoever started them. Any thread.
void waitForChildrenThatRun(const std::string& program);

}  // namespace qm::linux_
