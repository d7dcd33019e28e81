// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeClock.h"

#include <algorithm>
#include <utility>

namespace qm::testing {
namespace {

using std::chrono::system_clock;

system_clock::time_point dateOf(const foundation::CivilTime& time) {
  using namespace std::chrono;
  const auto day = sys_days(year(time.year) / month(static_cast<unsigned>(time.month)) / time.day);
  return day + hours(time.hour) + minutes(time.minute - time.utcOffsetMinutes) + seconds(time.second);
}

}  // namespace

FakeClock::FakeClock(Calls& calls) : calls_(calls), start_(dateOf({2024, 2, 29, 23, 5, 7, 0})) {}

void FakeClock::setLocalTime(const foundation::CivilTime& time) {
  const std::scoped_lock lock(mutex_);
  start_ = dateOf(time) - elapsed_;
  utcOffset_ = std::chrono::minutes(time.utcOffsetMinutes);
}

void FakeClock::setUtcOffset(std::chrono::minutes offset) {
  const std::scoped_lock lock(mutex_);
  utcOffset_ = offset;
}

void FakeClock::setManual(bool manual) {
  const std::scoped_lock lock(mutex_);
  manual_ = manual;
}

void FakeClock::advance(Span span) { moveTo(elapsed() + span); }

bool FakeClock::waitForSleepers(std::size_t count) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(30), [&] { return sleepers_ >= count; });
}

void FakeClock::wakeAll() {
  const std::scoped_lock lock(mutex_);
  awake_ = true;
  changed_.notify_all();
}

void FakeClock::setAlarm(Span span, std::function<void()> action) {
  const std::scoped_lock lock(mutex_);
  alarms_.push_back({elapsed_ + span, std::move(action)});
}

FakeClock::Span FakeClock::elapsed() const {
  const std::scoped_lock lock(mutex_);
  return elapsed_;
}

std::vector<FakeClock::Span> FakeClock::sleeps() const {
  const std::scoped_lock lock(mutex_);
  return sleeps_;
}

system_clock::time_point FakeClock::now() const {
  const std::scoped_lock lock(mutex_);
  return start_ + elapsed_;
}

std::chrono::steady_clock::time_point FakeClock::monotonicNow() const {
  constexpr std::chrono::hours sinceTheMachineStarted{1};
  return std::chrono::steady_clock::time_point(sinceTheMachineStarted + elapsed());
}

foundation::CivilTime FakeClock::localTime(system_clock::time_point date) const {
  using namespace std::chrono;
  const std::scoped_lock lock(mutex_);
  const auto local = floor<seconds>(date) + utcOffset_;
  const auto midnight = floor<days>(local);
  const year_month_day day(midnight);
  const hh_mm_ss time(local - midnight);
  return {static_cast<int>(day.year()),
          static_cast<int>(static_cast<unsigned>(day.month())),
          static_cast<int>(static_cast<unsigned>(day.day())),
          static_cast<int>(time.hours().count()),
          static_cast<int>(time.minutes().count()),
          static_cast<int>(time.seconds().count()),
          static_cast<int>(utcOffset_.count())};
}

void FakeClock::sleep(Span span) {
  calls_.note("clock.sleep", static_cast<long long>(span.count()));
  std::unique_lock lock(mutex_);
  sleeps_.push_back(span);
  const Span end = elapsed_ + span;
  if (!manual_) {
    lock.unlock();
    moveTo(end);
    return;
  }
  ++sleepers_;
  changed_.notify_all();
  changed_.wait(lock, [&] { return awake_ || elapsed_ >= end; });
  --sleepers_;
}

/// Moves the clock to the earliest alarm up to a time and returns its action; empty without one.
std::function<void()> FakeClock::nextAlarm(Span until) {
  const std::scoped_lock lock(mutex_);
  const auto earlier = [](const Alarm& one, const Alarm& other) { return one.time < other.time; };
  const auto first = std::min_element(alarms_.begin(), alarms_.end(), earlier);
  if (first == alarms_.end() || first->time > until) return {};
  elapsed_ = std::max(elapsed_, first->time);
  std::function<void()> action = std::move(first->action);
  alarms_.erase(first);
  return action;
}

void FakeClock::moveTo(Span time) {
  while (const std::function<void()> action = nextAlarm(time)) action();
  const std::scoped_lock lock(mutex_);
  elapsed_ = std::max(elapsed_, time);
  changed_.notify_all();
}

}  // namespace qm::testing
