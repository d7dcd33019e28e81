// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/ChildrenThatRun.h"

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <system_error>

#include "Platform/posix/OwnItem.h"

namespace qm::linux_ {
namespace {

/// Whether the process runs the program, or will: a new child still runs this process's own program, and then perhaps
/// env. What it runs is looked at once, because it can go on from one of them to the next between two looks.
bool runs(pid_t process, const std::string& program) {
  struct stat running {};
  if (::stat(("/proc/" + std::to_string(process) + "/exe").c_str(), &running) != 0) return false;
  const auto isRunning = [&running](const std::string& file) {
    struct stat found {};
    return ::stat(file.c_str(), &found) == 0 && posix::isSameItem(running, found);
  };
  return isRunning(program) || isRunning("/usr/bin/env") || isRunning("/proc/self/exe");
}

/// The kernel lists a child under the thread that started it, or under another one once that has ended.
std::optional<pid_t> childThatRuns(const std::string& program) {
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task", error)) {
    std::ifstream children(thread.path() / "children");
    for (pid_t child{}; children >> child;) {
      if (runs(child, program)) return child;
    }
  }
  return std::nullopt;
}

/// Also returns if a signal interrupts it.
void waitForEnd(pid_t child) {
  siginfo_t unused{};
  ::waitid(P_PID, static_cast<id_t>(child), &unused, WEXITED | WNOWAIT);
}

}  // namespace

void waitForChildrenThatRun(const std::string& program) {
  while (const std::optional<pid_t> child = childThatRuns(program)) waitForEnd(*child);
}

}  // namespace qm::linux_
