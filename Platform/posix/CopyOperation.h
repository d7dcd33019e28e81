// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <mutex>

#include "Platform/FileOperations.h"
#include "Platform/MainThread.h"

namespace qm::posix {

/// The caller's handle of one asynchronous copy: receives its reports and can cancel it. Any thread.
class CopyOperation final : public platform::FileOperation, public std::enable_shared_from_this<CopyOperation> {
 public:
  explicit CopyOperation(platform::MainThread& mainThread) : mainThread_(mainThread) {}

  // Each returns whether the state changed.
  bool schedule() { return setScheduled(true); }
  bool unschedule() { return setScheduled(false); }
  /// Succeeds once, and only if scheduled. The callback is called until the last report.
  bool begin(const platform::FileOperationCallback& callback);

  /// The copy could not be started: the callback is released.
  void abandon() { takeCallback(); }

  void cancel() { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }

  /// Queues a report for the main thread. A progress report is dropped, and false returned, while the previous one of
  /// the same stage is still queued.
  bool report(platform::FileOperationReport report);
  /// Whether a progress report of this stage is queued for the main thread.
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
  std::array<bool, 4> waiting_{};  ///< a report of the stage is queued for the main thread
  platform::FileOperationCallback callback_;
};

}  // namespace qm::posix
