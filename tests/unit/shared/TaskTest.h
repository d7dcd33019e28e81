// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "Shared/QMTask.h"
#include "tests/support/PlatformTest.h"

namespace qm::testing {

using Arguments = QMTask::Arguments;

inline const Arguments kNone;
inline const std::string kTool = "/usr/bin/tool";
inline const std::string kLogFile = "/home/u/Library/Logs/Quillmark/Demo.1.log";

/// The calls whose names begin with this, in order.
inline std::vector<std::string> callsOf(const FakePlatform& fakes, const std::string& service) {
  std::vector<std::string> calls = fakes.calls.everything();
  std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(service); });
  return calls;
}

/// A machine with a tool and a log file to write to.
class TaskTest : public PlatformTest {
 protected:
  TaskTest() {
    fakes.disk.addExecutable(kTool);
    fakes.disk.addFile(kLogFile);
  }

  std::vector<std::string> console() const { return fakes.console.lines(); }

  /// The log's contents after everything queued for it.
  std::string log() {
    QMLog::finishWriting();
    return fakes.disk.fileContents(kLogFile).value_or("no log");
  }

  /// What was done to tasks, in order.
  std::vector<std::string> steps() const { return callsOf(fakes, "tasks."); }

  FakeTask& task() const { return *fakes.tasks.last(); }

  /// A tool that runs until it is ended, which happens when somebody begins to wait for it.
  void scriptAToolThatEndsWhenWaitedFor(int status) {
    TaskScript script;
    script.runsUntilEnded = true;
    fakes.tasks.script(kTool, script);
    fakes.calls.before("tasks.waitUntilExit", 1, [this, status] { task().exit(status); });
  }

  void scriptOutput(const std::vector<std::string>& output, const std::vector<std::string>& error = {}) {
    TaskScript script;
    script.standardOutput = output;
    script.standardError = error;
    fakes.tasks.script(kTool, script);
  }

  void scriptExit(int status) {
    TaskScript script;
    script.exitStatus = status;
    fakes.tasks.script(kTool, script);
  }
};

}  // namespace qm::testing
