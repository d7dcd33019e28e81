#pragma once

#include <sys/types.h>

#include <optional>
#include <utility>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// A hold on one process that survives it: a process id that the system gives to somebody else is never waited for or
/// signalled. Only a child of this process can be reaped.
class ProcessHandle {
 public:
  /// No process.
  ProcessHandle() = default;
  /// A hold on a process that cannot have been reaped yet, a child or this process itself. Without one (see `errno`)
  /// the handle is false.
  static ProcessHandle open(pid_t process);

  explicit operator bool() const { return static_cast<bool>(descriptor_); }

  /// Can be read once the child has exited; for poll(2) and its like.
  int descriptor() const { return descriptor_.get(); }
  /// Blocks until the child has exited, and leaves it to be reaped. Any number of threads at a time.
  void waitForExit() const;
  /// Reaps the child when it has exited: its exit status, or the number of the signal that ended it. Nil while it
  /// runs. A child that was reaped behind this handle's back answers `kUnknownStatus`.
  std::optional<int> reap() const;
  /// Sends a signal. Does nothing when the child has ended. Not to be called once the child is reaped.
  void signal(int number) const;

  static constexpr int kUnknownStatus = -1;

 private:
  /// `process` is for systems whose calls take no descriptor: until the child is reaped, its id is its own.
  ProcessHandle(UniqueFd descriptor, pid_t process) : descriptor_(std::move(descriptor)), process_(process) {}

  UniqueFd descriptor_;
  pid_t process_ = -1;
};

}  // namespace qm::posix
