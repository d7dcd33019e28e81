#include "Platform/linux/system/SystemClock.h"

#include <cerrno>
#include <ctime>

namespace qm::linux_ {

std::chrono::system_clock::time_point SystemClock::now() const { return std::chrono::system_clock::now(); }

std::chrono::steady_clock::time_point SystemClock::monotonicNow() const { return std::chrono::steady_clock::now(); }

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

void SystemClock::sleep(std::chrono::microseconds span) {
  if (span <= std::chrono::microseconds::zero()) return;
  const auto seconds = std::chrono::floor<std::chrono::seconds>(span);
  std::timespec left{seconds.count(), std::chrono::nanoseconds(span - seconds).count()};
  while (::nanosleep(&left, &left) < 0 && errno == EINTR) {
  }
}

}  // namespace qm::linux_
