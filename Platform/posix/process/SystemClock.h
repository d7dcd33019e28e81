// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Clock.h"

namespace qm::posix {

/// The machine's clocks. A sleep lasts its whole span, whatever signals arrive meanwhile.
class SystemClock final : public platform::Clock {
 public:
  std::chrono::system_clock::time_point now() const override;
  std::chrono::steady_clock::time_point monotonicNow() const override;
  foundation::CivilTime localTime(std::chrono::system_clock::time_point date) const override;
  void sleep(std::chrono::microseconds span) override;
};

}  // namespace qm::posix
