// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

namespace {

using namespace qm::testing;
using namespace std::chrono_literals;
using qm::foundation::CivilTime;

class Clock : public ::testing::Test {
 protected:
  Calls calls;
  FakeClock clock{calls};
};

TEST_F(Clock, StandsStillUntilItIsMoved) {
  const auto date = clock.now();
  const auto monotonic = clock.monotonicNow();
  EXPECT_EQ(clock.now(), date);
  clock.advance(90s);
  EXPECT_EQ(clock.now() - date, 90s);
  EXPECT_EQ(clock.monotonicNow() - monotonic, 90s);
  EXPECT_EQ(clock.elapsed(), 90s);
}

TEST_F(Clock, ShowsTheLocalTime) {
  EXPECT_EQ(clock.localTime(clock.now()), (CivilTime{2024, 2, 29, 23, 5, 7, 0}));
  clock.setUtcOffset(90min);
  EXPECT_EQ(clock.localTime(clock.now()), (CivilTime{2024, 3, 1, 0, 35, 7, 90}));
  clock.setLocalTime({2023, 12, 31, 23, 59, 59, -300});
  clock.advance(1s);
  EXPECT_EQ(clock.localTime(clock.now()), (CivilTime{2024, 1, 1, 0, 0, 0, -300}));
}

TEST_F(Clock, IsMovedBySleepersInTheAutomaticMode) {
  clock.sleep(300ms);
  clock.sleep(500us);
  EXPECT_EQ(clock.elapsed(), 300'500us);
  EXPECT_EQ(clock.sleeps(), (std::vector<FakeClock::Span>{300ms, 500us}));
}

TEST_F(Clock, KeepsSleepersUntilItIsMovedInTheManualMode) {
  clock.setManual();
  std::thread sleeper([&] { clock.sleep(2s); });
  ASSERT_TRUE(clock.waitForSleepers(1));
  clock.advance(1s);
  EXPECT_TRUE(clock.waitForSleepers(1));
  clock.advance(1s);
  sleeper.join();
  EXPECT_EQ(clock.elapsed(), 2s);
}

TEST_F(Clock, LetsSleepersGoAtTheEnd) {
  clock.setManual();
  std::thread sleeper([&] { clock.sleep(1h); });
  ASSERT_TRUE(clock.waitForSleepers(1));
  clock.wakeAll();
  sleeper.join();
  EXPECT_EQ(clock.elapsed(), 0s);
}

TEST_F(Clock, RingsAlarmsInTheOrderOfTheirTimes) {
  std::vector<FakeClock::Span> rang;
  clock.setAlarm(3s, [&] { rang.push_back(clock.elapsed()); });
  clock.setAlarm(1s, [&] { rang.push_back(clock.elapsed()); });
  clock.setAlarm(9s, [&] { rang.push_back(clock.elapsed()); });
  clock.sleep(5s);
  EXPECT_EQ(rang, (std::vector<FakeClock::Span>{1s, 3s}));
  EXPECT_EQ(clock.elapsed(), 5s);
}

}  // namespace
