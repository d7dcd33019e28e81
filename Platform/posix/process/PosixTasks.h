// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "Platform/MainThread.h"
#include "Platform/Tasks.h"
#include "Platform/posix/process/DescriptorWait.h"

namespace qm::posix {

struct TaskSurroundings;

/// Child processes. On the main thread a wait goes through `descriptorWait`; on other threads it blocks.
class PosixTasks : public platform::Tasks {
 public:
  PosixTasks(platform::MainThread& mainThread, DescriptorWait& descriptorWait);

  std::shared_ptr<platform::Task> makeTask() override;

 private:
  std::shared_ptr<TaskSurroundings> surroundings_;  // shared with tasks, which may outlive this
};

}  // namespace qm::posix
