// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "Platform/Clock.h"
#include "Platform/FileOperations.h"
#include "Platform/MainThread.h"
#include "Platform/Threads.h"
#include "Platform/posix/CopyRights.h"

namespace qm::posix {

/// Copies in the background. Each copy has a thread of its own, and at first a second one that counts what is to be
/// copied. The services passed to the constructor must outlive this object and every copy. The process may end during a
/// copy.
///
/// Error numbers: EINVAL for an operation that is not this service's, is not scheduled, is already scheduled or was
/// used before, and for invalid paths and names; EAGAIN if no thread can be started. A copy itself ends with the number
/// of the step that failed, ESTALE if the source was changed meanwhile, or EPERM if there are no rights for it.
class PosixFileOperations final : public platform::FileOperations {
 public:
  /// Without `rights`, a copy has the rights of the threads.
  PosixFileOperations(platform::MainThread& mainThread, platform::Threads& threads, const platform::Clock& clock,
                      CopyRights rights = nullptr)
      : mainThread_(mainThread), threads_(threads), clock_(clock), rights_(std::move(rights)) {}

  platform::FileOperationRef create() override;
  platform::FileOperationStatus scheduleWithMainRunLoop(const platform::FileOperationRef& operation) override;
  platform::FileOperationStatus unscheduleFromMainRunLoop(const platform::FileOperationRef& operation) override;
  platform::FileOperationStatus copyObject(const platform::FileOperationRef& operation,
                                           const platform::CopyObjectRequest& request) override;
  platform::FileOperationStatus cancel(const platform::FileOperationRef& operation) override;

 private:
  platform::MainThread& mainThread_;
  platform::Threads& threads_;
  const platform::Clock& clock_;
  const CopyRights rights_;
};

}  // namespace qm::posix
