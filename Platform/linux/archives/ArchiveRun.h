// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

namespace qm::linux_ {

/// The callbacks of a run of the zip tool.
struct ArchiveRun {
  /// Reports that something was left out; the run goes on.
  std::function<void(const std::string& line)> leaveOut;
  /// Whether the run is to be cancelled. Called between blocks and items.
  std::function<bool()> isStopped;
};

}  // namespace qm::linux_
