// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/Status.h"

namespace qm::platform {

/// The target of a child's standard stream.
enum class TaskStream { Inherited, NullDevice, Pipe };

/// The reading end of a child's output. One reading thread; `close` from any thread.
class OutputReader {
 public:
  virtual ~OutputReader() = default;
  /// Blocks until there is something, and returns it. Returns "" only at the end of the output, after `close`, or when
  /// reading fails.
  virtual std::string availableData() = 0;
  /// Ends the reading. A read that is blocked in another thread returns "".
  virtual void close() = 0;
};

/// One run of a tool: prepared, launched once, waited for. The child is started without a shell, with the arguments
/// given after its path and with default signal handlers, and inherits only its three standard streams. Any thread may
/// query or terminate it while another waits. Releasing a running task leaves it running; it is reaped when it ends.
class Task {
 public:
  virtual ~Task() = default;

  /// The absolute path of the program to start. Setters have no effect after the launch.
  virtual void setLaunchPath(const std::string& path) = 0;
  /// The path set, "" before.
  virtual std::string launchPath() const = 0;
  /// The arguments after the program's name; none unless set.
  virtual void setArguments(const std::vector<std::string>& arguments) = 0;
  /// What the child reads.
  virtual void setStandardInput(TaskStream stream) = 0;
  /// Where the child's output goes.
  virtual void setStandardOutput(TaskStream stream) = 0;
  /// Where the child's error messages go.
  virtual void setStandardError(TaskStream stream) = 0;

  /// Starts the child. A failure (no such program, bad format, no memory) leaves nothing behind. A second launch fails
  /// and has no effect.
  virtual Status launch() = 0;
  /// Whether the child was started and has not exited.
  virtual bool isRunning() const = 0;
  /// Returns when the child has exited; at once if it was never launched. On the main thread the event loop is served
  /// meanwhile.
  virtual void waitUntilExit() = 0;
  /// The exit status, or the number of the signal that ended the child; 0 while it runs.
  virtual int terminationStatus() const = 0;
  /// Asks the child to end (SIGTERM). Does nothing if it has ended or was never launched.
  virtual void terminate() = 0;

  /// The reading end of standard output, available as soon as that is set to `Pipe`; null when it is not a pipe.
  virtual std::shared_ptr<OutputReader> standardOutputReader() const = 0;
  /// The same for standard error.
  virtual std::shared_ptr<OutputReader> standardErrorReader() const = 0;
};

/// Makes tasks. Any thread.
class Tasks {
 public:
  virtual ~Tasks() = default;
  /// A new task with inherited streams and no arguments.
  virtual std::shared_ptr<Task> makeTask() = 0;
};

}  // namespace qm::platform
