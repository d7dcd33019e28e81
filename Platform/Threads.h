// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace qm::platform {

/// Threads that nobody waits for.
class Threads {
 public:
  virtual ~Threads() = default;

  /// Runs `body` on a new thread that is never joined. Returns false if the system refuses a thread; then nothing was
  /// run. Any thread.
  virtual bool detachNewThread(std::function<void()> body) = 0;
};

/// Implements `Threads` with std::thread.
class StandardThreads final : public Threads {
 public:
  bool detachNewThread(std::function<void()> body) override;
};

}  // namespace qm::platform
