// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::linux_ {

/// The main function of the zip tool: makes and unpacks zip archives, with the arguments of the Mac's ditto. `name` is
/// its name in messages.
int runZipTool(const std::string& name, int count, char** given);

}  // namespace qm::linux_
