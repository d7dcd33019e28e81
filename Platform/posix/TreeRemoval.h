#pragma once

#include <string>

#include "Platform/posix/FileError.h"

namespace qm::posix {

/// Removes the item `name` in `folder`: a file, a link, never its target, or a whole tree. What other
/// file systems mounted below hold is not touched: where the system tells about them, nothing is
/// removed at all. Ends at the first failure.
FileError removeTree(int folder, const std::string& name);
/// `isBegun` becomes true as soon as anything was removed.
FileError removeTree(int folder, const std::string& name, bool& isBegun);

/// The same for what this process has made itself and holds open as `own`: folders that their owner may not read or
/// change are opened up for that. ESTALE, and nothing is touched, when something else has the name by now.
FileError removeOwnTree(int folder, const std::string& name, int own);

/// Why the item and all that is below could not be removed, as far as that can be told beforehand:
/// permissions, sticky folders, protected items, access lists, read-only and mounted file systems.
FileError obstacleToRemoval(int folder, const std::string& name);

}  // namespace qm::posix
