#pragma once

#include <mutex>
#include <string>

#include "Platform/Tasks.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {

/// The reading end of a pipe. `close` wakes a read that is blocked; the descriptor itself is closed when the reading
/// thread is out, so that its number cannot come to mean another file under the reader.
class PipeReader : public platform::OutputReader {
 public:
  explicit PipeReader(UniqueFd pipe) : pipe_(std::move(pipe)) {}

  /// The system had what it takes to end a read that is blocked.
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
