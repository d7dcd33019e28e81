// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::posix {

/// Finds a folder that the tool goes into although others than root can change something in it or below it. Returns the
/// first such path of `paths`; "" if there is none. The tool is one of the system's, named by its path. The paths are
/// those that it uses, and only root can redirect them.
///
/// `ditto` goes into every folder, `rm` into those that it is told to remove with their contents, `cp` into those that
/// it copies and into those of the same name at the destination. `mv` copies only to another volume.
std::string treeThatOthersChange(const std::string& tool, const std::vector<std::string>& arguments,
                                 const std::vector<std::string>& paths);

}  // namespace qm::posix
