// SPDX-License-Identifier: MIT
#include "Platform/posix/PosixFileOperations.h"

#include <cerrno>
#include <memory>
#include <string>

#include "Platform/posix/CopyJob.h"
#include "Platform/posix/CopyOperation.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {
namespace {

using platform::CopyObjectRequest;
using platform::FileOperationRef;
using platform::FileOperationStatus;

std::shared_ptr<CopyOperation> ours(const FileOperationRef& operation) {
  return std::dynamic_pointer_cast<CopyOperation>(operation);
}

bool isSingleName(const std::string& name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

bool isUsable(const CopyObjectRequest& request) {
  return pathError(request.source) == 0 && pathError(request.destinationFolder) == 0 && isSingleName(request.newName);
}

}  // namespace

FileOperationRef PosixFileOperations::create() { return std::make_shared<CopyOperation>(mainThread_); }

FileOperationStatus PosixFileOperations::scheduleWithMainRunLoop(const FileOperationRef& operation) {
  const auto copy = ours(operation);
  return copy && copy->schedule() ? 0 : EINVAL;
}

FileOperationStatus PosixFileOperations::unscheduleFromMainRunLoop(const FileOperationRef& operation) {
  const auto copy = ours(operation);
  return copy && copy->unschedule() ? 0 : EINVAL;
}

FileOperationStatus PosixFileOperations::copyObject(const FileOperationRef& operation,
                                                    const CopyObjectRequest& request) {
  const auto copy = ours(operation);
  if (!copy || !isUsable(request) || !copy->begin(request.callback)) return EINVAL;
  // The callback stays with the operation, so that it is released on the main thread.
  const auto job = std::make_shared<CopyJob>(copy, request, clock_, rights_);
  if (threads_.detachNewThread([job, &threads = threads_] { job->run(threads); })) return 0;
  copy->abandon();
  return EAGAIN;
}

FileOperationStatus PosixFileOperations::cancel(const FileOperationRef& operation) {
  const auto copy = ours(operation);
  if (!copy) return EINVAL;
  copy->cancel();
  return 0;
}

}  // namespace qm::posix
