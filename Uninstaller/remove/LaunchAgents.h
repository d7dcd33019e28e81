// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qm::removal {

/// The arguments of launchctl that end the launch agent described by a file, in a user's session. None if the file
/// describes no agent. The product's agents are named like their files.
std::vector<std::string> bootOutArguments(const std::string& path, uid_t person);

/// Ends the launch agent that a file describes in a user's session. Call it before the file is moved: otherwise the
/// system would start the agent again, or keep it until the user logs out. Does nothing without a tool or if the file
/// describes no agent. It is no failure if the agent does not run.
void bootOut(const std::string& tool, const std::string& path, uid_t person);

}  // namespace qm::removal
