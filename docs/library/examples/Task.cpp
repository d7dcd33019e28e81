// SPDX-License-Identifier: MIT
#include "Platform/Tasks.h"

#include <iostream>

#include "Platform/SetUp.h"
#include "Shared/QMTask.h"

int main() {
  qm::platform::setUp({.program = "example"});
  using Arguments = std::vector<std::string>;
  std::shared_ptr<qm::platform::Task> task;

  // True means that the tool has ended; how, the task tells.
  const bool ended = QMTask::runTask("/bin/sh", Arguments{"-c", "exit 3"}, &task);
  std::cout << std::boolalpha << task->launchPath() << " ended: " << ended << ", status " << task->terminationStatus()
            << '\n';

  // The output is complete when the call returns. The tool may still run.
  const auto output = QMTask::dataFromTask("/bin/sh", Arguments{"-c", "echo hello; exec >&- 2>&-; sleep 60"}, &task);
  std::cout << "printed: " << *output << "runs: " << task->isRunning() << '\n';
  task->terminate();
  task->waitUntilExit();
  std::cout << "ended by signal " << task->terminationStatus() << '\n';
  return 0;
}
