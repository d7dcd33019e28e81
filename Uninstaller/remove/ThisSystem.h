// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "Platform/Platform.h"
#include "Platform/Users.h"
#include "Platform/posix/process/MainLoop.h"
#include "Uninstaller/remove/Persons.h"
#include "Uninstaller/remove/Report.h"

/// What the command needs and each system provides in its own way. The functions are implemented in the system's own
/// folder.
namespace qm::removal {

/// The system's services for the product, with `users` as the service for users. The caller must never destroy `loop`
/// and `users`.
const platform::Platform& systemServices(posix::MainLoop& loop, platform::Users& users);
/// Returns the process's own user and the user at the console as the system knows them.
const platform::Users& systemUsers();

NumbersOfPersons numbersOfPersons();

/// The folder for data that root keeps after a run. Nobody else may write there.
std::string stateFolderOfRoot();
/// The folder of root's lock file. Nobody else may write there.
std::string lockFolderOfRoot();
/// The folder for data that another user keeps after a run. Null stands for the usual folder below the user's home.
std::optional<std::string> stateFolder(const std::string& home);
/// A folder that only the caller can access and that exists as long as the caller's session. Null if the system has
/// none.
std::optional<std::string> runtimeFolder();

/// All processes, their names, and the users who run them (real user ids), whatever rights the processes have.
std::vector<pid_t> allProcesses();
std::string nameOfProcess(pid_t process);
std::optional<uid_t> userOfProcess(pid_t process);

/// The tool that ends a user's launch agents. "" if the system starts none.
std::string launchControlTool();

/// Writes the report of a run to the system log.
void recordInSystemLog(const Report& report);

}  // namespace qm::removal
