// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

#include "Platform/foundation/DateText.h"

namespace qm::platform {

/// Time. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  /// The date.
  virtual std::chrono::system_clock::time_point now() const = 0;
  /// For measuring spans: never jumps.
  virtual std::chrono::steady_clock::time_point monotonicNow() const = 0;
  /// The date in the machine's time zone.
  virtual foundation::CivilTime localTime(std::chrono::system_clock::time_point date) const = 0;
  /// Blocks the calling thread. A span of zero or less returns at once.
  virtual void sleep(std::chrono::microseconds span) = 0;
};

}  // namespace qm::platform
