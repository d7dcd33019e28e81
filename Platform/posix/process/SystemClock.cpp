// SPDX-License-Identifier: MIT
#include "Platform/posix/process/SystemClock.h"

#include <ctime>

namespace qm::posix {
namespace {

using std::chrono::microseconds;
using std::chrono::steady_clock;

std::timespec pauseOf(microseconds span) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(span);
  const std::chrono::nanoseconds rest = span - seconds;
  return {.tv_sec = static_cast<std::time_t>(seconds.count()), .tv_nsec = static_cast<long>(rest.count())};
}

microseconds sinceThen(steady_clock::time_point then) {
  return std::chrono::floor<microseconds>(steady_clock::now() - then);
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

/// What is left is computed anew after each signal. The span may be of any length, so it is not converted to a finer
/// unit, in which it could overflow.
void SystemClock::sleep(microseconds span) {
  const auto begin = steady_clock::now();
  for (microseconds left = span; left > microseconds::zero(); left = span - sinceThen(begin)) {
    const std::timespec pause = pauseOf(left);
    ::nanosleep(&pause, nullptr);
  }
}

}  // namespace qm::posix
