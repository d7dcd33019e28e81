// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/ThisSystem.h"

#include <dirent.h>

#include <charconv>
#include <fstream>
#include <memory>
#include <sstream>
#include <string_view>

#include "Platform/linux/LinuxPlatform.h"
#include "Platform/linux/system/Environment.h"
#include "Platform/linux/system/SystemUsers.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/remove/JournalRecord.h"

namespace qm::removal {
namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};

std::optional<pid_t> processNumber(std::string_view name) {
  pid_t number = 0;
  const auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  return error == std::errc() && rest == name.data() + name.size() ? std::optional(number) : std::nullopt;
}

}  // namespace

const platform::Platform& systemServices(posix::MainLoop& loop, platform::Users& users) {
  return linux_::linuxPlatform(kProduct, {.mainThread = loop, .descriptorWait = loop, .users = &users});
}

const platform::Users& systemUsers() {
  static const auto* const users = new linux_::SystemUsers;
  return *users;
}

/// The range that the administrator has set in /etc/login.defs.
NumbersOfPersons numbersOfPersons() {
  NumbersOfPersons range{1000, 60000};
  std::ifstream settings("/etc/login.defs");
  for (std::string line; std::getline(settings, line);) {
    std::istringstream words(line);
    std::string name;
    uid_t number = 0;
    if (!(words >> name >> number)) continue;
    if (name == "UID_MIN") range.first = number;
    if (name == "UID_MAX") range.last = number;
  }
  return range;
}

std::string stateFolderOfRoot() { return "/var/lib"; }

std::string lockFolderOfRoot() { return "/run"; }

std::optional<std::string> stateFolder(const std::string& /*home*/) {
  return linux_::environmentValue("XDG_STATE_HOME");
}

std::optional<std::string> runtimeFolder() { return linux_::environmentValue("XDG_RUNTIME_DIR"); }

std::vector<pid_t> allProcesses() {
  std::vector<pid_t> numbers;
  const std::unique_ptr<DIR, CloseFolder> folder(::opendir("/proc"));
  while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
    if (const auto number = processNumber(entry->d_name)) numbers.push_back(*number);
  }
  return numbers;
}

std::string nameOfProcess(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

std::optional<uid_t> userOfProcess(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string name;
    uid_t user = 0;
    if (words >> name && name == "Uid:" && words >> user) return user;
  }
  return std::nullopt;
}

/// Linux has the agents' files, but nothing starts a process from them.
std::string launchControlTool() { return ""; }

void recordInSystemLog(const Report& report) { recordInJournal(report); }

}  // namespace qm::removal
