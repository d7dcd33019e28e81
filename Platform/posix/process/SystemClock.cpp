// SPDX-License-Identifier: MIT
#include "Platform/posix/process/SystemClock.h"

#include <ctime>

namespace qm::posix {
namespace {

using std::chrono::steady_clock;

std::timespec pauseOf(std::chrono::nanoseconds span) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(span);
  return {.tv_sec = static_cast<std::time_t>(seconds.count()), .tv_nsec = static_cast<long>((span - seconds).count())};
}

}  // namespace

std::chrono::system_clock::time_point SystemClock::now() const { return std::chrono::system_clock::now(); }

steady_clock::time_point SystemClock::monotonicNow() const { return steady_clock::now(); }

foundation::CivilTime SystemClock::localTime(std::chrono::system_clock::time_point date) const {
  // Rounded down, also before 1970.
  const std::time_t seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
  std::tm local{};
  ::localtime_r(&seconds, &local);
  return {local.tm_year + 1900,
          local.tm_mon + 1,
          local.tm_mday,
          local.tm_hour,
          local.tm_min,
          local.tm_sec,
          static_cast<int>(local.tm_gmtoff / 60)};
}

/// Sleeps until a fixed moment. After each signal the time that is left is computed anew.
void SystemClock::sleep(std::chrono::microseconds span) {
  const auto end = steady_clock::now() + span;
  for (std::chrono::nanoseconds left = span; left.count() > 0; left = end - steady_clock::now()) {
    const std::timespec pause = pauseOf(left);
    ::nanosleep(&pause, nullptr);
  }
}

}  // namespace qm::posix
