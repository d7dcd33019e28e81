#pragma once

#include <string>
#include <vector>

#include "Platform/posix/process/ProcessHandle.h"

namespace qm::linux_ {

/// A child that does not inherit this process's environment, and of its descriptors only the three given.
/// One that is let go of is ended and waited for.
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

  /// Starts a program. Answers 0 or an error number.
  int start(const std::string& path, const std::vector<std::string>& arguments, const Streams& streams);

  /// Blocks until the child has exited. Its exit status; -1 when there is no child, or a signal ended it.
  int wait();
  /// Ends the child, at first by asking.
  void end();

 private:
  posix::ProcessHandle handle_;
};

/// When this process was started, in the kernel's unit: with its number it names it for good. Empty when
/// that cannot be told.
std::string ownStartTime();

}  // namespace qm::linux_
