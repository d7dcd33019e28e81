// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

#include "Platform/Clock.h"
#include "tests/fakes/Calls.h"

namespace qm::testing {

/// A clock that stands still until it is moved.
///
/// It begins in the automatic mode, in which a sleeper moves the clock by the span and goes on at once. In the manual
/// mode a sleeper blocks until somebody else has moved it far enough. It begins at 2024-02-29 23:05:07 +0000.
class FakeClock : public platform::Clock {
 public:
  using Span = std::chrono::microseconds;

  explicit FakeClock(Calls& calls);

  /// The date and the time zone.
  void setLocalTime(const foundation::CivilTime& time);
  void setUtcOffset(std::chrono::minutes offset);

  void setAutomatic() { setManual(false); }
  void setManual() { setManual(true); }
  /// Moves both times forward. Alarms that become due ring on the calling thread.
  void advance(Span span);
  /// Returns when this many threads sleep (manual mode); false if they do not within 30 seconds.
  bool waitForSleepers(std::size_t count);
  /// Ends every sleep, present and future.
  void wakeAll();
  /// Runs `action` when the clock is moved to `span` from now or beyond.
  void setAlarm(Span span, std::function<void()> action);

  /// How far the clock has moved since it was created.
  Span elapsed() const;
  /// Every span slept, in the order of the calls.
  std::vector<Span> sleeps() const;

  std::chrono::system_clock::time_point now() const override;
  std::chrono::steady_clock::time_point monotonicNow() const override;
  foundation::CivilTime localTime(std::chrono::system_clock::time_point date) const override;
  void sleep(Span span) override;

 private:
  struct Alarm {
    Span time;
    std::function<void()> action;
  };

  void setManual(bool manual);
  void moveTo(Span time);
  std::function<void()> nextAlarm(Span until);

  Calls& calls_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::chrono::system_clock::time_point start_;
  std::chrono::minutes utcOffset_{0};
  Span elapsed_{0};
  bool manual_ = false;
  bool awake_ = false;
  std::size_t sleepers_ = 0;
  std::vector<Span> sleeps_;
  std::vector<Alarm> alarms_;
};

}  // namespace qm::testing
