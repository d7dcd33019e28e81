// SPDX-License-Identifier: MIT
#pragma once

#include <poll.h>

#include <atomic>

#include "Platform/MainThread.h"
#include "Platform/posix/process/PosixTasks.h"

namespace qm::testing {

/// Reports every thread as the main thread, or none.
class FixedMainThread : public platform::MainThread {
 public:
  bool isMainThread() const override { return isMain; }
  void performAndWait(std::function<void()> work) override { work(); }
  void perform(std::function<void()> work) override { work(); }
  bool handleOneEvent(std::chrono::milliseconds) override { return false; }

  std::atomic<bool> isMain{false};
};

/// Waits by poll(2) in place of an event loop.
class PollingWait : public posix::DescriptorWait {
 public:
  void waitUntilReadable(int descriptor) override {
    ++calls;
    pollfd watched{descriptor, POLLIN, 0};
    if (!givesUp) ::poll(&watched, 1, -1);
    sawReadable = watched.revents == POLLIN;
  }

  std::atomic<int> calls{0};
  std::atomic<bool> givesUp{false};
  std::atomic<bool> sawReadable{false};
};

/// The real backend with a front end that does nothing.
struct RealTasks {
  FixedMainThread mainThread;
  PollingWait descriptorWait;
  posix::PosixTasks tasks{mainThread, descriptorWait};
};

}  // namespace qm::testing
