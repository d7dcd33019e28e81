// SPDX-License-Identifier: MIT
#include "Platform/posix/process/PosixTasks.h"

#include "Platform/posix/process/PosixTask.h"

namespace qm::posix {

PosixTasks::PosixTasks(platform::MainThread& mainThread, DescriptorWait& descriptorWait)
    : surroundings_(new TaskSurroundings{mainThread, descriptorWait, {}}) {}

std::shared_ptr<platform::Task> PosixTasks::makeTask() { return std::make_shared<PosixTask>(surroundings_); }

}  // namespace qm::posix
