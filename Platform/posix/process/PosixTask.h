// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Platform/MainThread.h"
#include "Platform/Tasks.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/process/DescriptorWait.h"
#include "Platform/posix/process/PipeReader.h"
#include "Platform/posix/process/ProcessHandle.h"
#include "Platform/posix/process/Reaper.h"
#include "Platform/posix/process/SpawnRequest.h"

namespace qm::posix {

/// What all tasks of this process share.
struct TaskSurroundings {
  platform::MainThread& mainThread;
  DescriptorWait& descriptorWait;
  Reaper reaper;
};

/// One run of a tool, which posix_spawn(3) starts. The child is reaped by the first call that checks it after its exit,
/// or by the reaper if the task was released before.
class PosixTask : public platform::Task {
 public:
  explicit PosixTask(std::shared_ptr<TaskSurroundings> surroundings) : surroundings_(std::move(surroundings)) {}
  PosixTask(const PosixTask&) = delete;
  PosixTask& operator=(const PosixTask&) = delete;
  ~PosixTask() override;

  void setLaunchPath(const std::string& path) override;
  std::string launchPath() const override;
  void setArguments(const std::vector<std::string>& arguments) override;
  void setStandardInput(platform::TaskStream stream) override;
  void setStandardOutput(platform::TaskStream stream) override;
  void setStandardError(platform::TaskStream stream) override;

  /// A second launch fails with EALREADY.
  platform::Status launch() override;
  bool isRunning() const override;
  void waitUntilExit() override;
  int terminationStatus() const override;
  void terminate() override;

  std::shared_ptr<platform::OutputReader> standardOutputReader() const override;
  std::shared_ptr<platform::OutputReader> standardErrorReader() const override;

 private:
  struct Stream {
    platform::TaskStream kind = platform::TaskStream::Inherited;
    int error = 0;                       // why there is no pipe
    UniqueFd childEnd;                   // until the launch
    UniqueFd writingEnd;                 // of the standard input, never written to
    std::shared_ptr<PipeReader> reader;  // of the outputs
  };

  static void connectInput(Stream& stream);
  static void connectOutput(Stream& stream);
  /// If the stream is to be a pipe, `connect` creates the pipe.
  void setStream(std::size_t number, platform::TaskStream kind, void (*connect)(Stream&));
  std::shared_ptr<platform::OutputReader> reader(std::size_t number) const;

  int start();
  int adopt(pid_t child);
  void describeStreams(SpawnRequest& request) const;
  int streamError() const;
  void forgetPipes(bool launched);
  const ProcessHandle* processToWaitFor() const;
  bool hasExited() const;

  const std::shared_ptr<TaskSurroundings> surroundings_;
  mutable std::mutex mutex_;
  std::string launchPath_;
  std::vector<std::string> arguments_;
  std::array<Stream, 3> streams_;
  ProcessHandle process_;  // set by the launch, then unchanged
  mutable std::optional<int> status_;
};

}  // namespace qm::posix
