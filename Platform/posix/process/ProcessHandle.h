// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <utility>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// A handle of one process that stays valid after its end: a process id that the system has reused is never waited for
/// or signalled. Only a child of this process can be reaped. On systems whose calls accept no descriptor of a process,
/// this holds for children only.
class ProcessHandle {
 public:
  /// No process.
  ProcessHandle() = default;
  /// A handle of a process that cannot have been reaped yet: a child, or this process itself. On failure (see `errno`)
  /// the handle is false.
  static ProcessHandle open(pid_t process);

  explicit operator bool() const { return static_cast<bool>(descriptor_); }

  /// Becomes readable once the child has exited; for poll(2) and similar calls.
  int descriptor() const { return descriptor_.get(); }
  /// Blocks until the child has exited, without reaping it. Any number of threads at a time.
  void waitForExit() const;
  /// Reaps the child if it has exited. Returns its exit status or the number of the signal that ended it, null while it
  /// runs, and `kUnknownStatus` if the child was reaped by other code.
  std::optional<int> reap() const;
  /// Sends a signal. Does nothing if the child has ended, or if the handle is false. Must not be called after the child
  /// was reaped.
  void signal(int number) const;

  static constexpr int kUnknownStatus = -1;

 private:
  /// `process` is for systems whose calls accept no descriptor: the id is not reused until the child is reaped.
  ProcessHandle(UniqueFd descriptor, pid_t process) : descriptor_(std::move(descriptor)), process_(process) {}

  UniqueFd descriptor_;
  [[maybe_unused]] pid_t process_ = -1;
};

}  // namespace qm::posix
