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

bool isFile(const std::string& one, const std::string& other) {
  struct stat first {};
  struct stat second {};
  return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 && posix::isSameItem(first, second);
}

bool runs(pid_t process, const std::string& program) {
  const std::string running = "/proc/" + std::to_string(process) + "/exe";
  return isFile(running, program) || isFile(running, "/usr/bin/env");
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
