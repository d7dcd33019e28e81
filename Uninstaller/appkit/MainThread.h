// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <thread>

#include "Platform/MainThread.h"
#include "Platform/posix/process/DescriptorWait.h"

namespace qm::appkit {

/// The main thread with AppKit's event loop. Work is handed over in the common modes of the run loop, so it is also
/// done while an alert is shown. Ending the application ends the process, so work that does this never returns. Never
/// destroyed.
class MainThread final : public platform::MainThread, public posix::DescriptorWait {
 public:
  bool isMainThread() const override { return std::this_thread::get_id() == mainThread_; }
  void performAndWait(std::function<void()> work) override;
  void perform(std::function<void()> work) override;
  bool handleOneEvent(std::chrono::milliseconds limit) override;
  /// AppKit's event loop cannot wait for a descriptor, so this checks the descriptor between events, every 10 ms if
  /// there are none.
  void waitUntilReadable(int descriptor) override;

 private:
  /// The thread of the first use is the main thread.
  const std::thread::id mainThread_ = std::this_thread::get_id();
};

}  // namespace qm::appkit
