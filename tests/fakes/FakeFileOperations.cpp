// SPDX-License-Identifier: MIT
#include "tests/fakes/FakeFileOperations.h"

#include <cerrno>
#include <utility>

#include "Platform/foundation/PathComponents.h"

namespace qm::testing {

using platform::CopyObjectRequest;
using platform::FileOperationCallback;
using platform::FileOperationRef;
using platform::FileOperationReport;
using platform::FileOperationStage;
using platform::FileOperationStatus;
using platform::FileOperationStatusDictionary;

namespace {

std::shared_ptr<FakeFileOperation> ours(const FileOperationRef& operation) {
  return std::dynamic_pointer_cast<FakeFileOperation>(operation);
}

bool isUsable(const CopyObjectRequest& request) {
  const bool isName = !request.newName.empty() && request.newName != "." && request.newName != ".." &&
                      request.newName.find('/') == std::string::npos;
  return isName && request.source.starts_with('/') && request.destinationFolder.starts_with('/');
}

}  // namespace

void FakeFileOperation::report(const FileOperationReport& report) {
  FileOperationCallback callback;
  {
    const std::scoped_lock lock(mutex_);
    callback = request_.callback;
    if (report.stage == FileOperationStage::Complete) request_.callback = nullptr;
    if (!scheduled_) return;
  }
  if (callback) callback(shared_from_this(), report);
}

bool FakeFileOperation::setScheduled(bool scheduled) {
  const std::scoped_lock lock(mutex_);
  return std::exchange(scheduled_, scheduled) != scheduled;
}

bool FakeFileOperation::begin(const CopyObjectRequest& request) {
  const std::scoped_lock lock(mutex_);
  if (!scheduled_ || begun_) return false;
  begun_ = true;
  request_ = request;
  return true;
}

void FakeFileOperation::cancel() {
  const std::scoped_lock lock(mutex_);
  cancelled_ = true;
}

void FakeFileOperation::abandon() {
  FileOperationCallback callback;
  const std::scoped_lock lock(mutex_);
  std::swap(callback, request_.callback);
}

void FakeFileOperations::keepCopies() {
  const std::scoped_lock lock(mutex_);
  keeps_ = true;
}

std::shared_ptr<FakeFileOperation> FakeFileOperations::last() const {
  const std::scoped_lock lock(mutex_);
  return last_.lock();
}

void FakeFileOperations::abandonAll() {
  std::vector<Operation> all;
  {
    const std::scoped_lock lock(mutex_);
    all.swap(kept_);
  }
  for (const Operation& operation : all) operation->abandon();
}

FileOperationRef FakeFileOperations::create() {
  calls_.note("fileOperations.create");
  auto operation = std::make_shared<FakeFileOperation>();
  const std::scoped_lock lock(mutex_);
  last_ = operation;
  return operation;
}

FileOperationStatus FakeFileOperations::scheduleWithMainRunLoop(const FileOperationRef& operation) {
  if (calls_.command("fileOperations.scheduleWithMainRunLoop")) return calls_.failure().code();
  const Operation copy = ours(operation);
  return copy && copy->setScheduled(true) ? 0 : EINVAL;
}

FileOperationStatus FakeFileOperations::unscheduleFromMainRunLoop(const FileOperationRef& operation) {
  if (calls_.command("fileOperations.unscheduleFromMainRunLoop")) return calls_.failure().code();
  const Operation copy = ours(operation);
  return copy && copy->setScheduled(false) ? 0 : EINVAL;
}

FileOperationStatus FakeFileOperations::copyObject(const FileOperationRef& operation,
                                                   const CopyObjectRequest& request) {
  if (calls_.command("fileOperations.copyObject", request.source, request.destinationFolder, request.newName))
    return calls_.failure().code();
  const Operation copy = ours(operation);
  if (!copy || !isUsable(request) || !copy->begin(request)) return EINVAL;
  const std::scoped_lock lock(mutex_);
  if (keeps_) {
    kept_.push_back(copy);
  } else {
    mainThread_.perform([this, copy] { preflight(copy); });
  }
  return 0;
}

FileOperationStatus FakeFileOperations::cancel(const FileOperationRef& operation) {
  if (calls_.command("fileOperations.cancel")) return calls_.failure().code();
  const Operation copy = ours(operation);
  if (!copy) return EINVAL;
  copy->cancel();
  return 0;
}

void FakeFileOperations::preflight(const Operation& operation) {
  if (!operation->isCancelled()) operation->report({FileOperationStage::Preflighting, operation->source()});
  mainThread_.perform([this, operation] { run(operation); });
}

void FakeFileOperations::run(const Operation& operation) {
  const std::string source = operation->source();
  if (!operation->isCancelled() && disk_.has(source))
    operation->report({FileOperationStage::Running, source, 0, statusOfBeginning(source)});
  mainThread_.perform([this, operation] { complete(operation); });
}

void FakeFileOperations::complete(const Operation& operation) {
  const std::string destination =
      foundation::appendingPathComponent(operation->destinationFolder(), operation->newName());
  FileOperationReport end{FileOperationStage::Complete};
  end.error = operation->isCancelled() ? platform::userCanceledErr : disk_.copy(operation->source(), destination);
  if (end.error == 0) end.currentItem = destination;
  operation->report(end);
}

FileOperationStatusDictionary FakeFileOperations::statusOfBeginning(const std::string& source) {
  std::uint64_t objects = 1;
  std::uint64_t bytes = disk_.fileContents(source).value_or("").size();
  if (!disk_.linkTarget(source)) {
    for (const std::string& line : disk_.tree(source)) {
      ++objects;
      bytes += disk_.fileContents(line).value_or("").size();
    }
  }
  return {{platform::kFSOperationTotalBytesKey, bytes},
          {platform::kFSOperationBytesCompleteKey, 0},
          {platform::kFSOperationBytesRemainingKey, bytes},
          {platform::kFSOperationTotalObjectsKey, objects},
          {platform::kFSOperationObjectsCompleteKey, 0},
          {platform::kFSOperationObjectsRemainingKey, objects},
          {platform::kFSOperationTotalUserVisibleObjectsKey, objects},
          {platform::kFSOperationUserVisibleObjectsCompleteKey, 0},
          {platform::kFSOperationUserVisibleObjectsRemainingKey, objects},
          {platform::kFSOperationThroughputKey, 0}};
}

}  // namespace qm::testing
