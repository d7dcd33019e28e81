// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Platform/posix/FileError.h"

namespace qm::posix {

/// Removes the folder `name` in `parent` if it contains, at any depth, only folders and expendable items: items that
/// are not folders and for whose names `isExpendable` returns true. A folder counts as a folder whatever its name. A
/// link does not, and its target is not examined.
///
/// Everything below is checked before anything is removed. ENOTEMPTY names the item in the way (`Side::InTheWay`). A
/// folder that cannot be read gives its error, another mount EBUSY. EPERM means a protected item, or somebody else's in
/// a sticky folder.
///
/// During the removal each item is checked again where it is. A folder that the check did not see is not entered, and
/// folders are removed only by a call that fails if they are not empty. So anything added meanwhile stays and ends the
/// removal; some of the expendable items and empty folders may then be gone. An item that has vanished meanwhile is not
/// a failure, except the folder itself.
FileError removeHollowFolder(int parent, const std::string& name,
                             const std::function<bool(const std::string& name)>& isExpendable);

/// What the folder holds if `removeHollowFolder` would remove it, as paths from `parent`: each item before the folder
/// that it is in, the folder itself last. Null if anything else is in it, if something in it cannot be listed, and if
/// there is no such folder.
std::optional<std::vector<std::string>> hollowFolderItems(
    int parent, const std::string& name, const std::function<bool(const std::string& name)>& isExpendable);

/// The same for the folder at a path, as absolute paths.
std::optional<std::vector<std::string>> pathsInHollowFolder(
    const std::string& folder, const std::function<bool(const std::string& name)>& isExpendable);

/// For `isExpendable`: whether the Finder keeps its notes about a folder under this name.
inline bool isHousekeeping(const std::string& name) { return name == ".DS_Store" || name == "Icon\r"; }

/// For `isExpendable`: whether the name is among these, which must outlive the result.
inline std::function<bool(const std::string& name)> isOneOf(const std::vector<std::string>& names) {
  return [&names](const std::string& name) { return std::ranges::find(names, name) != names.end(); };
}

}  // namespace qm::posix
