// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "Platform/Platform.h"
#include "Platform/Users.h"
#include "Platform/posix/process/MainLoop.h"
#include "Uninstaller/remove/Report.h"

/// What the command finds otherwise on each system. The bodies are in the system's own folder.
namespace qm::removal {

/// The system's services for the product, with `users` among them. All that is passed is never destroyed.
const platform::Platform& systemServices(posix::MainLoop& loop, platform::Users& users);
/// Who runs the process and who is at the computer, as the system says.
const platform::Users& systemUsers();

/// The numbers of the accounts that are persons'.
struct NumbersOfPersons {
  uid_t first = 0;
  uid_t last = 0;
};
NumbersOfPersons numbersOfPersons();

/// Where root keeps what is to outlast a run. Nobody else may write there.
std::string stateFolderOfRoot();
/// Where root's lock lies. Nobody else may write there.
std::string lockFolderOfRoot();
/// Where others keep what is to outlast a run; null for the usual folder below their home.
std::optional<std::string> stateFolder(const std::string& home);
/// A folder of the caller's alone that lasts as long as the caller's session; null where the system has none.
std::optional<std::string> runtimeFolder();

/// All processes, their names, and whom they run for, whatever rights they have.
std::vector<pid_t> allProcesses();
std::string nameOfProcess(pid_t process);
std::optional<uid_t> userOfProcess(pid_t process);

/// The tool that ends what was started by the files in a person's folder of launch agents; "" where nothing is.
std::string launchControlTool();

/// Writes a run into the system's log.
void recordInSystemLog(const Report& report);

}  // namespace qm::removal
