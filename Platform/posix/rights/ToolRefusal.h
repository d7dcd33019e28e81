// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::posix {

/// Why root must not start a tool of the system, which is named by its path; "" if it may. The reason is that others
/// than root can redirect a path that the tool uses, or can change something in or below a folder that it goes into.
///
/// `ditto` goes into every folder, `rm` into those that it is told to remove with their contents, `cp` into those that
/// it copies and into those of the same name at the destination. `mv` copies only to another volume.
std::string refusalForRoot(const std::string& tool, const std::vector<std::string>& arguments);

}  // namespace qm::posix
