// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "Platform/MainThread.h"
#include "Platform/posix/process/DescriptorWait.h"

namespace qm::appkit {

/// The main thread with AppKit's event loop. Work is handed over through the run loop's common modes, which are served
/// while an alert is shown, too. Ending the application ends the process, so that work which does so never comes back.
/// Never destroyed.
class MainThread final : public platform::MainThread, public posix::DescriptorWait {
 public:
  bool isMainThread() const override { return std::this_thread::get_id() == mainThread_; }
  void performAndWait(std::function<void()> work) override;
  void perform(std::function<void()> work) override;
  bool handleOneEvent(std::chrono::milliseconds limit) override;
  /// The event loop knows events alone: between them it looks whether the descriptor is ready.
  void waitUntilReadable(int descriptor) override;

 private:
  /// The thread of the first use is the main thread.
  const std::thread::id mainThread_ = std::this_thread::get_id();
};

}  // namespace qm::appkit
