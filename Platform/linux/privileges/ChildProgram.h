// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Platform/posix/process/ProcessHandle.h"

namespace qm::linux_ {

/// A child process that inherits nothing of this process's environment, and only the three given descriptors. The
/// destructor ends it and waits for it.
class ChildProgram {
 public:
  /// No child.
  ChildProgram() = default;
  ChildProgram(ChildProgram&& other) noexcept = default;
  ChildProgram& operator=(ChildProgram&& other) noexcept;
  ChildProgram(const ChildProgram&) = delete;
  ChildProgram& operator=(const ChildProgram&) = delete;
  ~ChildProgram() { end(); }

  /// The standard streams of a child; -1 is the null device.
  struct Streams {
    int input = -1;
    int output = -1;
    int errors = -1;
  };

  /// Starts a program. Returns 0 or an error number. After an error nothing runs, except a program with other rights
  /// until its connection ends.
  int start(const std::string& path, const std::vector<std::string>& arguments, const Streams& streams);

  /// Blocks until the child has exited. Returns its exit status, or the number of the signal that ended it; -1
  /// if there is no child.
  int wait();
  /// Ends the child, first with SIGTERM.
  void end();

 private:
  posix::ProcessHandle handle_;
};

/// When this process was started, in the kernel's unit. Together with the process id it identifies the process
/// permanently. Empty if that cannot be determined.
std::string ownStartTime();

}  // namespace qm::linux_
