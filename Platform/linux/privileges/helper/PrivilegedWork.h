// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/linux/rights/Refusal.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The result of a piece of work: a wait status, and a sentence about what failed.
struct WorkResult {
  int waitStatus = 0;
  std::string note;

  /// The status of a tool that failed with 1.
  static WorkResult failed(std::string why) { return {1 << 8, std::move(why)}; }
};

/// One launch that was checked: its paths are held by descriptors, and nothing has been changed yet.
class PrivilegedWork {
 public:
  PrivilegedWork() = default;
  PrivilegedWork(const PrivilegedWork&) = delete;
  PrivilegedWork& operator=(const PrivilegedWork&) = delete;
  virtual ~PrivilegedWork() = default;

  /// Begins, and returns 0 or the error number that prevents it. `output` receives a program's output.
  virtual int begin(const posix::UniqueFd& /*output*/) { return 0; }
  /// Blocks until everything is done.
  virtual WorkResult finish() = 0;
};

using PreparedWork = Answer<std::unique_ptr<PrivilegedWork>>;

/// The result of a file operation on `path`; if it failed at an item below, the note names that item.
WorkResult resultOf(const posix::FileError& error, const std::string& path);

}  // namespace qm::linux_
