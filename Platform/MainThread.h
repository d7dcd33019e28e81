// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>

namespace qm::platform {

/// The thread that owns the interface, and its event loop.
class MainThread {
 public:
  virtual ~MainThread() = default;

  /// Whether the calling thread is the main thread.
  virtual bool isMainThread() const = 0;

  /// Runs `work` on the main thread and returns when it is done; on the main thread itself it runs at once. Work that
  /// ends the application never returns to the caller.
  virtual void performAndWait(std::function<void()> work) = 0;
  /// Queues `work` for the main thread and returns.
  virtual void perform(std::function<void()> work) = 0;

  /// Main thread only: serves the next pending event, waiting up to `limit` for it. A toolkit may serve several events
  /// that are ready together. Returns whether there was one.
  virtual bool handleOneEvent(std::chrono::milliseconds limit) = 0;
};

}  // namespace qm::platform
