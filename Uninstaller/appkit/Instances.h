// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace qm::appkit {

/// One process of the program.
struct Instance {
  pid_t process = 0;
  std::uint64_t start = 0;  ///< microseconds of the system's clock; 0 if the process does not exist any more
  bool hasEnded = false;    ///< it is known to have ended
};

/// The instance to which this one leaves the work: the one that was started first. Null if that is this one, which then
/// continues to run. If two were started at the same time, the one with the lower process id counts as the first, so
/// that they never both end.
std::optional<pid_t> instanceToLeaveTo(const Instance& own, const std::vector<Instance>& running);

}  // namespace qm::appkit
