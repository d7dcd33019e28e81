#pragma once

#include <utility>

#include "Platform/Clock.h"
#include "Platform/FileOperations.h"
#include "Platform/MainThread.h"
#include "Platform/Threads.h"
#include "Platform/posix/CopyRights.h"

namespace qm::posix {

/// Copies in the background on threads of its own, one for the copying and for a while one that counts.
/// The services that it is made with outlive it and every copy; the process may end in the middle of one.
///
/// Numbers: EINVAL for an operation that is not this service's, is not scheduled, is so already or was used
/// before, and for paths and names that can name nothing; EAGAIN when there is no thread. What the copy
/// itself ends with is the number of the step that failed, ESTALE when the source was changed meanwhile, EPERM when
/// there are no rights for it.
class PosixFileOperations final : public platform::FileOperations {
 public:
  /// Without `rights`, copies are made with those that the threads have.
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
