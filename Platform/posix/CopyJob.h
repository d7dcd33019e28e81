// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Platform/Clock.h"
#include "Platform/FileOperations.h"
#include "Platform/Threads.h"
#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/CopyOperation.h"
#include "Platform/posix/CopyRights.h"
#include "Platform/posix/TreeCounter.h"

namespace qm::posix {

/// The work of an asynchronous copy. Another thread counts the items of a tree while they are already being copied. The
/// stage is the preflight until everything is counted.
class CopyJob final : public CopyObserver {
 public:
  CopyJob(std::shared_ptr<CopyOperation> operation, const platform::CopyObjectRequest& request,
          const platform::Clock& clock, CopyRights rights);

  /// Copies, and makes all reports. `threads` may be unable to start another thread.
  void run(platform::Threads& threads);

  int itemBegins(std::string_view folder, std::string_view name) override;
  int bytesCopied(std::uint64_t count) override;
  void itemCopied() override { ++objects_; }

 private:
  using Time = std::chrono::steady_clock::time_point;

  int copy(platform::Threads& threads);
  std::shared_ptr<void> takeRights() const;
  void count(platform::Threads& threads);
  int goOn();
  bool lastIsHandedOver(Time now);
  void report(platform::FileOperationStage stage, Time now);
  void reportEnd(int error);
  platform::FileOperationStatusDictionary status(Time now) const;

  const std::shared_ptr<CopyOperation> operation_;
  const std::string source_;
  const std::string destination_;
  const std::chrono::milliseconds interval_;
  const platform::Clock& clock_;
  const CopyRights rights_;
  const Time start_;
  const std::shared_ptr<TreeCounter> total_;
  std::uint64_t objects_ = 0;
  std::uint64_t bytes_ = 0;
  std::string current_;  ///< the item being copied, relative to the source
  platform::FileOperationStage stage_ = platform::FileOperationStage::Undefined;
  Time lastReport_;
  bool lastWaits_ = false;  ///< at the last check, the last report was still queued
};

}  // namespace qm::posix
