// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/ThisSystem.h"

#include <libproc.h>
#include <syslog.h>
#include <unistd.h>

#include <array>

#include "Platform/macos/MacServices.h"
#include "Platform/posix/WholeAnswer.h"
#include "Platform/posix/WholeList.h"
#include "Uninstaller/Product.h"
#include "Uninstaller/remove/LogLines.h"
#include "Uninstaller/remove/Persons.h"

namespace qm::removal {
const platform::Platform& systemServices(posix::MainLoop& loop, platform::Users& users) {
  return macos::macPlatform(kProduct, {.mainThread = loop, .descriptorWait = loop, .users = &users});
}

const platform::Users& systemUsers() {
  static const auto* const users = macos::makeUsers().release();
  return *users;
}

NumbersOfPersons numbersOfPersons() { return kNumbersOfPersonsOnAMac; }

std::string stateFolderOfRoot() { return "/private/var/db"; }

/// Not the system's usual folder for lock files, because others may write there.
std::string lockFolderOfRoot() { return "/private/var/db"; }

std::optional<std::string> stateFolder(const std::string& home) { return home + "/Library/Application Support"; }

/// The system creates this folder for each user, and clears it.
std::optional<std::string> runtimeFolder() {
  return posix::wholeText<1024>(
      [](char* path, std::size_t room) { return ::confstr(_CS_DARWIN_USER_TEMP_DIR, path, room); });
}

std::vector<pid_t> allProcesses() {
  return posix::wholeList<pid_t>(
      [](pid_t* numbers, int room) { return ::proc_listallpids(numbers, room * static_cast<int>(sizeof(pid_t))); });
}

std::string nameOfProcess(pid_t process) {
  std::array<char, 2 * MAXCOMLEN + 1> name{};
  return ::proc_name(process, name.data(), name.size()) > 0 ? std::string(name.data()) : std::string();
}

std::optional<uid_t> userOfProcess(pid_t process) {
  const auto found = posix::wholeAnswer<proc_bsdshortinfo>([process](proc_bsdshortinfo* facts, int size) {
    return ::proc_pidinfo(process, PROC_PIDT_SHORTBSDINFO, 0, facts, size);
  });
  return found ? std::optional(found->pbsi_ruid) : std::nullopt;
}

std::string launchControlTool() { return "/bin/launchctl"; }

void recordInSystemLog(const Report& report) {
  ::openlog("tessaly-remove", LOG_PID, LOG_USER);
  for (const LogLine& line : logLinesOf(report)) ::syslog(priorityOf(line), "%s", line.text.c_str());
}

}  // namespace qm::removal
