// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <ctime>

namespace qm::posix {

/// A date in the form of the system's calls. Nanoseconds count forward, also before 1970.
inline timespec timespecOf(std::chrono::system_clock::time_point date) {
  const auto since = date.time_since_epoch();
  const auto whole = std::chrono::floor<std::chrono::seconds>(since);
  return {.tv_sec = static_cast<time_t>(whole.count()),
          .tv_nsec = static_cast<long>(std::chrono::nanoseconds(since - whole).count())};
}

}  // namespace qm::posix
