// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "Platform/MainThread.h"
#include "Platform/posix/process/DescriptorWait.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {

/// The main thread of a program without a toolkit. Work queued by other threads is run whenever the main thread waits
/// for a tool or for an event, and never if it does not wait. If the system provides no wake-up descriptor, only
/// `handleOneEvent` runs work.
class MainLoop final : public platform::MainThread, public DescriptorWait {
 public:
  /// The calling thread becomes the main thread.
  MainLoop();

  bool isMainThread() const override;
  /// From another thread: returns once the main thread has run the work.
  void performAndWait(std::function<void()> work) override;
  void perform(std::function<void()> work) override;
  bool handleOneEvent(std::chrono::milliseconds limit) override;
  /// Runs queued work until the descriptor can be read.
  void waitUntilReadable(int descriptor) override;

 private:
  std::function<void()> takeNext();
  bool runNext();

  const std::thread::id mainThread_;
  const Wakeup queued_;  // raised while the queue is not empty

  std::mutex mutex_;
  std::deque<std::function<void()>> queue_;
};

}  // namespace qm::posix
