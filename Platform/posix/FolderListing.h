// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The type of an entry according to the folder itself. The item may have been replaced since.
enum class EntryKind { Folder, RegularFile, Other, Unknown };

struct FolderEntry {
  std::string name;
  EntryKind kind = EntryKind::Unknown;
};

/// All entries except "." and "..", in the system's order. Returns 0 or an error number.
int listFolder(UniqueFd folder, std::vector<FolderEntry>& entries);
int listFolder(UniqueFd folder, std::vector<std::string>& names);

/// Passes each entry to `take` as it is read, with the folder's descriptor, through which an entry can be examined.
int forEachEntry(UniqueFd folder, const std::function<void(int folder, const char* name, EntryKind kind)>& take);

}  // namespace qm::posix
