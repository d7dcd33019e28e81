// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace qm::macos {

/// All that is in a folder in which there is nothing but folders and what the Finder leaves in them, each before the
/// folder that it is in, and the folder itself last. Null where anything else is in it, where something in it cannot be
/// listed, and where there is no such folder.
std::optional<std::vector<std::string>> hollowFolderItems(const std::string& folder);

}  // namespace qm::macos
