// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qm::removal {

/// What has the system end the agent of a file in a person's session; nothing for a file that is no agent's. Agents of
/// the product are called like their files.
std::vector<std::string> bootOutArguments(const std::string& path, uid_t person);

/// Ends the agent of a file in a person's session, before the file goes: else the system would start it again, or keep
/// it until the person logs out. Does nothing without a tool, and for other files. One that does not run is fine.
void bootOut(const std::string& tool, const std::string& path, uid_t person);

}  // namespace qm::removal
