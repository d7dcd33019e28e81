// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

#include "Platform/Threads.h"
#include "tests/fakes/Calls.h"

namespace qm::testing {

/// Real threads that are counted, or bodies that are kept until the test runs them.
class FakeThreads : public platform::Threads {
 public:
  explicit FakeThreads(Calls& calls) : calls_(calls) {}

  /// From now on bodies are kept instead of run.
  void keepBodies();
  /// Runs the bodies kept so far on the calling thread, in order, and returns how many there were.
  std::size_t runKept();
  /// Returns when no thread that was started here is running any more; false if one still is after 30 seconds.
  bool waitUntilAllEnded();

  bool detachNewThread(std::function<void()> body) override;

 private:
  bool start(std::function<void()> body);
  void countEnd();

  Calls& calls_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool keeps_ = false;
  std::size_t running_ = 0;
  std::vector<std::function<void()>> kept_;
};

}  // namespace qm::testing
