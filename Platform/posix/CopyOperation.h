#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>

#include "Platform/FileOperations.h"
#include "Platform/MainThread.h"

namespace qm::posix {

/// One asynchronous copy as its user holds it: where its reports go and whether it is to end. Any thread.
class CopyOperation final : public platform::FileOperation, public std::enable_shared_from_this<CopyOperation> {
 public:
  explicit CopyOperation(platform::MainThread& mainThread) : mainThread_(mainThread) {}

  // Each returns whether it was possible.
  bool schedule() { return setScheduled(true); }
  bool unschedule() { return setScheduled(false); }
  /// Only once, and only when it is scheduled. From now on it has reports to make, up to the last.
  bool begin(const platform::FileOperationCallback& callback);

  /// It could not be started: the callback is let go of.
  void abandon() { takeCallback(); }

  void cancel() { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }

  /// Has a report made on the main thread. One about progress is left out, and false answered, while
  /// the one before it of the same stage waits there.
  bool report(platform::FileOperationReport report);
  /// One about progress of this stage waits on the main thread.
  bool hasWaitingReport(platform::FileOperationStage stage) const;

 private:
  bool setScheduled(bool scheduled);
  bool mayReport(platform::FileOperationStage stage);
  void deliver(const platform::FileOperationReport& report);
  platform::FileOperationCallback callback() const;
  platform::FileOperationCallback takeCallback();

  platform::MainThread& mainThread_;
  std::atomic<bool> cancelled_{false};
  mutable std::mutex mutex_;
  bool scheduled_ = false;
  bool begun_ = false;
  std::array<bool, 4> waiting_{};  ///< a report of the stage waits on the main thread
  platform::FileOperationCallback callback_;
};

}  // namespace qm::posix
