// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <utility>

#include "Platform/Clock.h"
#include "Platform/posix/PosixFileOperations.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeMainThread.h"
#include "tests/fakes/FakeThreads.h"

namespace qm::testing {

/// The real time. A copy reads it before each item and after each block of a big file, and a test can act there.
class CopyClock final : public platform::Clock {
 public:
  /// Set before the copy begins; called on the copying thread with the number of the call, from 1 on.
  void onQuestion(std::function<void(int number)> action) { action_ = std::move(action); }
  int questions() const { return questions_; }
  /// Makes the time of the copy advance by itself, by this much per call.
  void goBySteps(std::chrono::milliseconds step) { step_ = step; }

  std::chrono::system_clock::time_point now() const override { return std::chrono::system_clock::now(); }
  std::chrono::steady_clock::time_point monotonicNow() const override {
    const int number = ++questions_;
    if (action_) action_(number);
    if (step_.count() > 0) return std::chrono::steady_clock::time_point(step_ * number);
    return std::chrono::steady_clock::now();
  }
  foundation::CivilTime localTime(std::chrono::system_clock::time_point) const override { return {}; }
  void sleep(std::chrono::microseconds) override {}

 private:
  mutable std::atomic<int> questions_{0};
  std::function<void(int)> action_;
  std::chrono::milliseconds step_{0};
};

/// The real service on real threads, with a main thread that is served on demand.
struct RealCopies {
  ~RealCopies() { (void)threads.waitUntilAllEnded(); }

  Calls calls;
  FakeClock fakeClock{calls};
  FakeMainThread mainThread{calls, fakeClock};
  FakeThreads threads{calls};
  CopyClock clock;
  posix::PosixFileOperations service{mainThread, threads, clock};
};

}  // namespace qm::testing
