#pragma once

#include <functional>
#include <string>

namespace qm::linux_ {

/// What a run of the zip tool tells and asks its surroundings.
struct ArchiveRun {
  /// Something was left out, though the run goes on.
  std::function<void(const std::string& line)> leaveOut;
  /// Whether the run is to end before its time. Asked between blocks and items.
  std::function<bool()> isStopped;
};

}  // namespace qm::linux_
