// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Status.h"
#include "Platform/Tasks.h"
#include "tests/fakes/Calls.h"
#include "tests/fakes/FakeClock.h"
#include "tests/fakes/FakeDisk.h"
#include "tests/fakes/FakeMainThread.h"
#include "tests/fakes/FileCommands.h"

namespace qm::testing {

/// The course of one run of a tool, named member by member: {.exitStatus = 1, .standardOutput = {"text"}}. By default
/// it exits with 0 at once and prints nothing.
struct TaskScript {
  int exitStatus = 0;
  std::vector<std::string> standardOutput{};  ///< each piece is one result of `availableData`
  std::vector<std::string> standardError{};
  bool closesOutputEarly = false;            ///< both streams end after the pieces, while the tool goes on
  bool runsUntilEnded = false;               ///< until it is terminated or ended by the test
  std::optional<FakeClock::Span> runsFor{};  ///< on the fake clock
  bool ignoresTermination = false;
  std::optional<platform::Failure> launchFailure{};
  /// The effect of the tool when it exits by itself. Null: what `fileCommand` knows about it.
  ToolEffect effect{};
};

/// One task: what the program does with it, and what the test can check or change.
class FakeTask : public platform::Task {
 public:
  struct Run;  // shared with the readers, so that they outlive the task

  /// `scriptFor` is called at the launch, with the launch path.
  FakeTask(Calls& calls, FakeMainThread& mainThread, std::function<TaskScript(const std::string&)> scriptFor,
           FakeClock& clock);

  std::vector<std::string> arguments() const;
  bool wasLaunched() const;
  /// `terminate` was called while it was running.
  bool wasTerminated() const;
  platform::TaskStream standardInput() const;
  platform::TaskStream standardOutput() const;
  platform::TaskStream standardError() const;

  /// The tool prints another piece.
  void print(const std::string& piece);
  void printError(const std::string& piece);
  /// The tool exits by itself, with its effect.
  void exit(int status);

  void setLaunchPath(const std::string& path) override;
  std::string launchPath() const override;
  void setArguments(const std::vector<std::string>& arguments) override;
  void setStandardInput(platform::TaskStream stream) override;
  void setStandardOutput(platform::TaskStream stream) override;
  void setStandardError(platform::TaskStream stream) override;
  platform::Status launch() override;
  bool isRunning() const override;
  void waitUntilExit() override;
  int terminationStatus() const override;
  void terminate() override;
  std::shared_ptr<platform::OutputReader> standardOutputReader() const override;
  std::shared_ptr<platform::OutputReader> standardErrorReader() const override;

 private:
  void begin(const TaskScript& script);

  Calls& calls_;
  FakeMainThread& mainThread_;
  FakeClock& clock_;
  std::function<TaskScript(const std::string&)> scriptFor_;
  std::shared_ptr<Run> run_;
};

/// Tasks that run nothing. Recorded as "tasks.launch(/bin/mv, -f, /a, /b)", "tasks.terminate(/bin/mv)", and in
/// `everything` also "tasks.waitUntilExit(/bin/mv)", "tasks.availableData(/bin/mv, standard output)" and the
/// preparation of a task, as "tasks.setStandardError(null device)"; a read that fails returns "".
class FakeTasks : public platform::Tasks {
 public:
  FakeTasks(Calls& calls, FakeMainThread& mainThread, FakeClock& clock, FakeDisk& disk)
      : calls_(calls), mainThread_(mainThread), clock_(clock), disk_(disk) {}

  /// The course of every run of a tool from now on.
  void script(const std::string& path, TaskScript script);
  /// The course of the next run of a tool; several of these form a queue.
  void scriptOnce(const std::string& path, TaskScript script);

  /// Every task made, in order, and the last one (null if there is none).
  std::vector<std::shared_ptr<FakeTask>> all() const;
  std::shared_ptr<FakeTask> last() const;
  /// The command lines launched, in order, path first: {"/bin/mv", "-f", "/a", "/b"}.
  std::vector<std::vector<std::string>> launches() const;
  /// Ends every task that is still running, as if it exited with 0.
  void endAll();

  std::shared_ptr<platform::Task> makeTask() override;

 private:
  TaskScript nextScript(const std::string& path);

  Calls& calls_;
  FakeMainThread& mainThread_;
  FakeClock& clock_;
  FakeDisk& disk_;
  mutable std::mutex mutex_;
  std::map<std::string, TaskScript> scripts_;
  std::map<std::string, std::deque<TaskScript>> once_;
  std::vector<std::shared_ptr<FakeTask>> tasks_;
};

}  // namespace qm::testing
