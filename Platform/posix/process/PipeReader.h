// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>

#include "Platform/Tasks.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {

/// The reading end of a pipe. `close` wakes a blocked read. The descriptor itself is closed only after the reading
/// thread has returned, so that its number cannot come to refer to another file during the read.
class PipeReader : public platform::OutputReader {
 public:
  explicit PipeReader(UniqueFd pipe) : pipe_(std::move(pipe)) {}

  /// The wake-up descriptor could be created, so `close` can interrupt a blocked read.
  bool canBeWoken() const { return wakeup_.descriptor() >= 0; }

  std::string availableData() override;
  void close() override;

 private:
  bool enter();
  void leave();
  bool waitForData() const;
  std::string readWhatIsThere() const;

  std::mutex mutex_;
  bool reading_ = false;
  bool closed_ = false;
  UniqueFd pipe_;
  Wakeup wakeup_;
};

}  // namespace qm::posix
