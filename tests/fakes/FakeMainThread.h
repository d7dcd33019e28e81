// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>

#include "Platform/MainThread.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"

namespace qm::testing {

/// A main thread with a queue that is served on demand.
///
/// The thread that makes this object is the main thread. `claim` makes the calling thread the main thread, and `disown`
/// leaves none (the test then plays the worker). `serveOnOwnThread` starts a thread that is the main thread and serves
/// the queue until the end.
class FakeMainThread : public platform::MainThread {
 public:
  FakeMainThread(Calls& calls, FakeClock& clock);
  ~FakeMainThread() override;

  void claim();
  void disown();
  void serveOnOwnThread();

  /// Main thread: runs everything that is queued, and returns how many pieces of work that were.
  std::size_t pump();
  /// Main thread: serves the queue until the condition holds; false if it does not within 30 seconds.
  bool pumpUntil(const std::function<bool()>& condition);
  /// Makes a `pumpUntil` check its condition again.
  void poke();
  /// How much work is queued.
  std::size_t queued() const;
  /// Nothing is queued, and nothing that was queued is still running.
  bool isIdle() const;

  /// From now on a caller of `performAndWait` whose work ends the application keeps waiting, as the contract says.
  /// `releaseWaiters` and the destructor release it.
  void applicationEnded();
  void releaseWaiters();
  /// Releases everybody who waits here now or later, without running their work.
  void close();

  bool isMainThread() const override;
  void performAndWait(std::function<void()> work) override;
  void perform(std::function<void()> work) override;
  /// Runs one queued piece of work; if there is none, moves the fake clock by the limit.
  bool handleOneEvent(std::chrono::milliseconds limit) override;

 private:
  struct State;

  bool runOne();

  Calls& calls_;
  FakeClock& clock_;
  std::shared_ptr<State> state_;  // also of those who still wait here at the end
  std::thread server_;
};

}  // namespace qm::testing
