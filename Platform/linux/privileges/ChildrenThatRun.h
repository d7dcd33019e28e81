#pragma once

#include <string>

namespace qm::linux_ {

/// Returns when no child of this process runs the program of this file any more, nor `env`, which is about to. Leaves
/// them to be reaped by whoever started them. Any thread.
void waitForChildrenThatRun(const std::string& program);

}  // namespace qm::linux_
