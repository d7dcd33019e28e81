// SPDX-License-Identifier: MIT
#include "Platform/linux/system/SystemClock.h"

#include <cerrno>
#include <ctime>

namespace qm::linux_ {
namespace {

constexpr long kNanosecondsInASecond = 1'000'000'000;

std::timespec momentAfter(std::chrono::microseconds span) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(span);
  std::timespec moment{};
  ::clock_gettime(CLOCK_MONOTONIC, &moment);
  moment.tv_sec += seconds.count();
  moment.tv_nsec += std::chrono::nanoseconds(span - seconds).count();
  if (moment.tv_nsec >= kNanosecondsInASecond) {
    moment.tv_nsec -= kNanosecondsInASecond;
    ++moment.tv_sec;
  }
  return moment;
}

}  // namespace

std::chrono::system_clock::time_point SystemClock::now() const { return std::chrono::system_clock::now(); }

std::chrono::steady_clock::time_point SystemClock::monotonicNow() const { return std::chrono::steady_clock::now(); }

foundation::CivilTime SystemClock::localTime(std::chrono::system_clock::time_point date) const {
  // Rounded down, even before 1970.
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

void SystemClock::sleep(std::chrono::microseconds span) {
  if (span <= std::chrono::microseconds::zero()) return;
  // Sleeps until a fixed moment: restarting with the remaining time would accumulate a little delay at every signal.
  const std::timespec end = momentAfter(span);
  while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

}  // namespace qm::linux_
