// SPDX-License-Identifier: MIT
#include "Platform/posix/CopyOperation.h"

#include <utility>

namespace qm::posix {

using platform::FileOperationCallback;
using platform::FileOperationReport;
using platform::FileOperationStage;

bool CopyOperation::setScheduled(bool scheduled) {
  const std::scoped_lock lock(mutex_);
  return std::exchange(scheduled_, scheduled) != scheduled;
}

bool CopyOperation::begin(const FileOperationCallback& callback) {
  const std::scoped_lock lock(mutex_);
  if (!scheduled_ || begun_) return false;
  begun_ = true;
  callback_ = callback;
  return true;
}

bool CopyOperation::report(FileOperationReport report) {
  {
    const std::scoped_lock lock(mutex_);
    bool& waits = waiting_.at(static_cast<std::size_t>(report.stage));
    if (std::exchange(waits, true)) return false;
  }
  mainThread_.perform([self = shared_from_this(), report = std::move(report)] { self->deliver(report); });
  return true;
}

bool CopyOperation::hasWaitingReport(FileOperationStage stage) const {
  const std::scoped_lock lock(mutex_);
  return waiting_.at(static_cast<std::size_t>(stage));
}

/// Called on the main thread. Holds no lock while the callback runs, because it may call back.
void CopyOperation::deliver(const FileOperationReport& report) {
  const bool last = report.stage == FileOperationStage::Complete;
  const bool wanted = mayReport(report.stage);
  const FileOperationCallback function = last ? takeCallback() : callback();
  if (wanted && function) function(shared_from_this(), report);
}

bool CopyOperation::mayReport(FileOperationStage stage) {
  const std::scoped_lock lock(mutex_);
  waiting_.at(static_cast<std::size_t>(stage)) = false;
  return scheduled_ && (stage == FileOperationStage::Complete || !cancelled_);
}

FileOperationCallback CopyOperation::callback() const {
  const std::scoped_lock lock(mutex_);
  return callback_;
}

FileOperationCallback CopyOperation::takeCallback() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(callback_, nullptr);
}

}  // namespace qm::posix
