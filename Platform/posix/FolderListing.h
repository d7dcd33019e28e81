#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// What the folder itself says about an entry. The item may have been replaced since.
enum class EntryKind { Folder, RegularFile, Other, Unknown };

struct FolderEntry {
  std::string name;
  EntryKind kind = EntryKind::Unknown;
};

/// All entries but "." and "..", in the system's order. Answers 0 or an error number.
int listFolder(UniqueFd folder, std::vector<FolderEntry>& entries);
int listFolder(UniqueFd folder, std::vector<std::string>& names);

/// Hands each of them to `take` as it is read, with the folder's descriptor, which looks at an entry go through.
int forEachEntry(UniqueFd folder, const std::function<void(int folder, const char* name, EntryKind kind)>& take);

}  // namespace qm::posix
