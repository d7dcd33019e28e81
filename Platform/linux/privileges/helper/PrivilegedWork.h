#pragma once

#include <memory>
#include <string>

#include "Platform/linux/rights/Refusal.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// How a piece of work ended: a wait status, and what went wrong in a sentence.
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

  /// Begins, and returns 0 or the error number that prevents it. `output` is where a program writes.
  virtual int begin(const posix::UniqueFd& /*output*/) { return 0; }
  /// Blocks until all is done.
  virtual WorkResult finish() = 0;
};

using PreparedWork = Answer<std::unique_ptr<PrivilegedWork>>;

/// The end of a file operation on `path`; what is wrong with an item below it names that.
WorkResult resultOf(const posix::FileError& error, const std::string& path);

}  // namespace qm::linux_
