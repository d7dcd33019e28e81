// SPDX-License-Identifier: MIT
#include "Platform/posix/CopyJob.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/Move.h"

namespace qm::posix {

using platform::FileOperationReport;
using platform::FileOperationStage;
using platform::FileOperationStatusDictionary;

namespace {

bool isFolder(const std::string& path) {
  struct stat attributes {};
  return ::lstat(path.c_str(), &attributes) == 0 && S_ISDIR(attributes.st_mode);
}

/// Bytes per second. A huge file that is one hole is copied instantly, at a rate that exceeds the number's range.
std::uint64_t throughputOf(std::uint64_t bytes, double seconds) {
  constexpr double kBeyond = 18'446'744'073'709'551'616.0;
  if (seconds <= 0) return 0;
  const double throughput = static_cast<double>(bytes) / seconds;
  return throughput < kBeyond ? static_cast<std::uint64_t>(throughput) : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

CopyJob::CopyJob(std::shared_ptr<CopyOperation> operation, const platform::CopyObjectRequest& request,
                 const platform::Clock& clock, CopyRights rights)
    : operation_(std::move(operation)),
      source_(withoutTrailingSlashes(request.source)),
      destination_(foundation::appendingPathComponent(request.destinationFolder, request.newName)),
      interval_(request.statusInterval),
      clock_(clock),
      rights_(std::move(rights)),
      start_(clock.monotonicNow()),
      total_(std::make_shared<TreeCounter>()) {}

void CopyJob::run(platform::Threads& threads) {
  report(FileOperationStage::Preflighting, start_);
  reportEnd(copy(threads));
}

int CopyJob::copy(platform::Threads& threads) {
  const std::shared_ptr<void> held = takeRights();
  if (!held) return EPERM;
  count(threads);
  const FileError error = copyTree(source_, destination_, *this);
  total_->stop();
  total_->waitUntilFinished();  // the source is released before the end is reported
  return error.code;
}

std::shared_ptr<void> CopyJob::takeRights() const {
  return rights_ ? rights_(source_, destination_) : std::make_shared<char>();
}

/// A tree is counted on another thread, so that counting does not delay the copy. If there is no thread, it is counted
/// beforehand.
void CopyJob::count(platform::Threads& threads) {
  const auto counting = [total = total_, source = source_, rights = rights_, to = destination_] {
    const std::shared_ptr<void> held = rights ? rights(source, to) : nullptr;
    total->count(source);
  };
  if (isFolder(source_) && threads.detachNewThread(counting)) return;
  total_->count(source_, [this] { return operation_->isCancelled(); });
}

int CopyJob::itemBegins(std::string_view folder, std::string_view name) {
  current_.assign(folder);
  if (!name.empty()) current_.append("/").append(name);
  return goOn();
}

int CopyJob::bytesCopied(std::uint64_t count) {
  bytes_ = saturatingSum(bytes_, count);
  return goOn();
}

int CopyJob::goOn() {
  if (operation_->isCancelled()) return ECANCELED;
  const FileOperationStage stage =
      total_->isFinished() ? FileOperationStage::Running : FileOperationStage::Preflighting;
  const Time now = clock_.monotonicNow();
  if (stage == stage_ && !lastIsHandedOver(now)) return 0;
  if (stage != stage_ || now - lastReport_ >= interval_) report(stage, now);
  return 0;
}

/// The interval starts when a report has been delivered, however late that is.
bool CopyJob::lastIsHandedOver(Time now) {
  const bool waited = std::exchange(lastWaits_, operation_->hasWaitingReport(stage_));
  if (waited && !lastWaits_) lastReport_ = now;
  return !lastWaits_;
}

void CopyJob::report(FileOperationStage stage, Time now) {
  FileOperationReport report{stage, source_ + current_};
  if (stage == FileOperationStage::Running) report.statusDictionary = status(now);
  if (!operation_->report(std::move(report))) return;
  stage_ = stage;
  lastReport_ = now;
  lastWaits_ = true;
}

/// Before a success at least one report of the running stage is sent, however short that stage was.
void CopyJob::reportEnd(int error) {
  if (error == 0 && stage_ != FileOperationStage::Running) report(FileOperationStage::Running, clock_.monotonicNow());
  FileOperationReport end{FileOperationStage::Complete};
  if (error == 0) end.currentItem = destination_;
  end.error = error == ECANCELED ? platform::userCanceledErr : error;
  operation_->report(std::move(end));
}

FileOperationStatusDictionary CopyJob::status(Time now) const {
  // Items added to the source after it was counted are copied, too.
  const std::uint64_t totalBytes = std::max(total_->bytes(), bytes_);
  const std::uint64_t totalObjects = std::max(total_->objects(), objects_);
  const double seconds = std::chrono::duration<double>(now - start_).count();
  return {{platform::kFSOperationTotalBytesKey, totalBytes},
          {platform::kFSOperationBytesCompleteKey, bytes_},
          {platform::kFSOperationBytesRemainingKey, totalBytes - bytes_},
          {platform::kFSOperationTotalObjectsKey, totalObjects},
          {platform::kFSOperationObjectsCompleteKey, objects_},
          {platform::kFSOperationObjectsRemainingKey, totalObjects - objects_},
          // Objects inside a package count as visible, too, on every system.
          {platform::kFSOperationTotalUserVisibleObjectsKey, totalObjects},
          {platform::kFSOperationUserVisibleObjectsCompleteKey, objects_},
          {platform::kFSOperationUserVisibleObjectsRemainingKey, totalObjects - objects_},
          {platform::kFSOperationThroughputKey, throughputOf(bytes_, seconds)}};
}

}  // namespace qm::posix
