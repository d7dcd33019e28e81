// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "Platform/MainThread.h"
#include "Platform/posix/UniqueFd.h"

class QSocketNotifier;

namespace qm::qt {

/// The main thread with Qt's event loop. Other threads hand their work over through a queue and a
/// descriptor that the event loop watches, and touch nothing of Qt, so their calls are safe before the
/// application object exists and after it is gone. Never destroyed.
class QtMainThread final : public platform::MainThread {
 public:
  /// The calling thread becomes the main thread.
  QtMainThread();
  ~QtMainThread() override;

  bool isMainThread() const override;
  void performAndWait(std::function<void()> work) override;
  void perform(std::function<void()> work) override;
  /// A pass of the event loop may serve several events that are ready together; they count as one.
  bool handleOneEvent(std::chrono::milliseconds limit) override;

  /// Main thread, with an application object: queued work is run from now on. Returns false if the system provided no
  /// descriptor.
  bool begin();
  /// Main thread: the application is ending. From now on threads that wait for work in `performAndWait` are not woken.
  void holdWaitingCallers();
  bool holdsWaitingCallers() const;
  /// Main thread, after the event loop: work that is queued, now or later, is never run.
  void end();

 private:
  void runNext();

  const std::thread::id mainThread_;
  const posix::UniqueFd wakeUps_;
  std::unique_ptr<QSocketNotifier> notifier_;
  bool holdsWaitingCallers_ = false;

  std::mutex mutex_;
  std::deque<std::function<void()>> queue_;
  bool ended_ = false;
};

}  // namespace qm::qt
