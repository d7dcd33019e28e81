// SPDX-License-Identifier: MIT
#include "tests/support/SubordinateIds.h"

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "Platform/posix/UniqueFd.h"

namespace qm::testing {
namespace {

struct Loan {
  std::string first;
  std::string count;
};

std::string userName() {
  const passwd* entry = ::getpwuid(::geteuid());
  return entry != nullptr ? entry->pw_name : std::to_string(::geteuid());
}

std::optional<Loan> loanIn(const char* file) {
  const std::string name = userName();
  std::ifstream lines(file);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string owner;
    Loan loan;
    if (std::getline(fields, owner, ':') && owner == name && std::getline(fields, loan.first, ':') &&
        std::getline(fields, loan.count)) {
      return loan;
    }
  }
  return std::nullopt;
}

bool runTool(std::vector<std::string> words) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  pid_t tool = -1;
  if (::posix_spawnp(&tool, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) return false;
  int status = -1;
  while (::waitpid(tool, &status, 0) < 0 && errno == EINTR) {
  }
  return status == 0;
}

bool mapWithLoan(pid_t child, const char* tool, const char* file, unsigned own) {
  const auto loan = loanIn(file);
  if (!loan) return false;
  return runTool({tool, std::to_string(child), "0", std::to_string(own), "1", "1", loan->first, loan->count});
}

bool writeFile(const std::string& path, const std::string& text) {
  const posix::UniqueFd file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
  return file && ::write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Every id that this process knows keeps its value.
std::string ownIds(const char* file) {
  std::string lines;
  std::ifstream map(file);
  for (std::string first, outside, count; map >> first >> outside >> count;) {
    lines.append(first).append(" ").append(first).append(" ").append(count).append("\n");
  }
  return lines;
}

bool mapOwnIds(pid_t child) {
  const std::string folder = "/proc/" + std::to_string(child);
  return writeFile(folder + "/uid_map", ownIds("/proc/self/uid_map")) &&
         writeFile(folder + "/gid_map", ownIds("/proc/self/gid_map"));
}

}  // namespace

bool mapIds(pid_t child) {
  if (::geteuid() == 0) return mapOwnIds(child);
  return mapWithLoan(child, "newuidmap", "/etc/subuid", ::geteuid()) &&
         mapWithLoan(child, "newgidmap", "/etc/subgid", ::getegid());
}

}  // namespace qm::testing
