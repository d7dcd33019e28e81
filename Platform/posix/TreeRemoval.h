#pragma once

#include <string>

#include "Platform/posix/FileError.h"

namespace qm::posix {

/// Whether folders that their owner may not read or change are opened up for removing them: only for
/// what this process has just made itself.
enum class OpenUpFolders : bool { No, Yes };

/// Removes the item `name` in `folder`: a file, a link, never its target, or a whole tree. What other
/// file systems mounted below hold is not touched: where the system tells about them, nothing is
/// removed at all. Ends at the first failure.
FileError removeTree(int folder, const std::string& name, OpenUpFolders openUp = OpenUpFolders::No);

/// Why the item and all that is below could not be removed, as far as that can be told beforehand:
/// permissions, sticky folders, protected items, read-only and mounted file systems.
FileError obstacleToRemoval(int folder, const std::string& name);

}  // namespace qm::posix
