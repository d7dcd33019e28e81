#pragma once

#include <functional>

namespace qm::platform {

/// Threads that nobody waits for.
class Threads {
 public:
  virtual ~Threads() = default;

  /// Runs `body` on a new thread that is never joined. False when the system gives no thread; then
  /// nothing was run. Any thread.
  virtual bool detachNewThread(std::function<void()> body) = 0;
};

/// The language's own threads.
class StandardThreads final : public Threads {
 public:
  bool detachNewThread(std::function<void()> body) override;
};

}  // namespace qm::platform
