// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Shared/QMTask.h"
#include "bench/Cases.h"
#include "bench/Ratios.h"

namespace qm::bench {
namespace {

constexpr int kRuns = 1000;
constexpr const char* kRunTool = "/bin/true";

void runBare() {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  std::string tool = kRunTool;
  char* const arguments[] = {tool.data(), nullptr};
  for (int i = 0; i < kRuns; ++i) {
    pid_t child = 0;
    if (::posix_spawn(&child, kRunTool, &actions, nullptr, arguments, environ) != 0) std::abort();
    int status = 0;
    ::waitpid(child, &status, 0);
  }
  posix_spawn_file_actions_destroy(&actions);
}

void runOurs() {
  for (int i = 0; i < kRuns; ++i) {
    if (!QMTask::runTask(kRunTool, std::vector<std::string>())) std::abort();
  }
}

void compareRuns(const std::string& name) {
  compare({.name = name,
           .bar = 1.2,
           .ours = {"runTask:arguments:", {}, runOurs, {}},
           .limit = {"posix_spawn and wait", {}, runBare, {}},
           .peers = {},
           .rounds = 5});
}

}  // namespace

void runTools() { compareRuns("Run 1000 tools"); }

void runToolsWithMuchMemory() {
  std::vector<char> memory(std::size_t{1} << 30U);
  std::memset(memory.data(), 1, memory.size());
  compareRuns("Run 1000 tools from a process that holds 1 GiB");
}

}  // namespace qm::bench
