// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "Platform/posix/process/SystemClock.h"

namespace qm::testing {
namespace {

using namespace std::chrono_literals;
using foundation::CivilTime;
using std::chrono::system_clock;

/// The machine's time zone for the duration of a test.
class TimeZone {
 public:
  explicit TimeZone(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
  }
  ~TimeZone() {
    ::unsetenv("TZ");
    ::tzset();
  }
  TimeZone(const TimeZone&) = delete;
  TimeZone& operator=(const TimeZone&) = delete;
};

std::atomic<int> interruptions{0};

struct SystemClock : ::testing::Test {
  posix::SystemClock clock;
};

TEST_F(SystemClock, GivesTheDateInTheMachinesTimeZone) {
  const TimeZone zone("XYZ-1:30");
  EXPECT_EQ(clock.localTime(system_clock::time_point(1709242507s)), (CivilTime{2024, 2, 29, 23, 5, 7, 90}));
}

TEST_F(SystemClock, CountsAnOffsetWestOfGreenwichAsNegative) {
  const TimeZone zone("XYZ3:30");
  EXPECT_EQ(clock.localTime(system_clock::time_point(0s)), (CivilTime{1969, 12, 31, 20, 30, 0, -210}));
}

TEST_F(SystemClock, KnowsSummerTime) {
  const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(clock.localTime(system_clock::time_point(1720000000s)), (CivilTime{2024, 7, 3, 11, 46, 40, 120}));
}

TEST_F(SystemClock, RoundsDownBefore1970) {
  const TimeZone zone("UTC0");
  EXPECT_EQ(clock.localTime(system_clock::time_point(-1ms)), (CivilTime{1969, 12, 31, 23, 59, 59, 0}));
}

TEST_F(SystemClock, TellsTheTime) {
  const auto before = system_clock::now();
  const auto now = clock.now();
  EXPECT_LE(before, now);
  EXPECT_LE(now, system_clock::now());
}

TEST_F(SystemClock, SleepsTheWholeSpan) {
  const auto start = clock.monotonicNow();
  clock.sleep(20ms);
  EXPECT_GE(clock.monotonicNow() - start, 20ms);
}

TEST_F(SystemClock, SleepsOnAfterASignal) {
  struct sigaction counting {};
  counting.sa_handler = [](int) { ++interruptions; };
  ASSERT_EQ(::sigaction(SIGUSR1, &counting, nullptr), 0);
  const pthread_t sleeper = ::pthread_self();
  std::atomic<bool> awake{false};
  std::thread disturber([&] {
    while (!awake) {
      ::pthread_kill(sleeper, SIGUSR1);
      std::this_thread::yield();
    }
  });
  const auto start = clock.monotonicNow();
  clock.sleep(100ms);
  EXPECT_GE(clock.monotonicNow() - start, 100ms);
  awake = true;
  disturber.join();
  EXPECT_GT(interruptions, 0);
}

TEST_F(SystemClock, DoesNotSleepForNothingOrLess) {
  const auto start = clock.monotonicNow();
  clock.sleep(0us);
  clock.sleep(-5s);
  clock.sleep(std::chrono::microseconds::min());
  EXPECT_LT(clock.monotonicNow() - start, 5s);
}

}  // namespace
}  // namespace qm::testing
