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
  std::uint64_t start = 0;  ///< microseconds of the system's clock; 0 where there is no such process any more
  bool hasEnded = false;    ///< it is known to have ended
};

/// The instance that this one leaves to: the first that was started, unless that is this one. Of two that were started
/// at once the lower process number counts as the first, so that they never leave to each other. Null where this one
/// stays.
std::optional<pid_t> instanceToLeaveTo(const Instance& own, const std::vector<Instance>& running);

}  // namespace qm::appkit
