// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/FileError.h"

namespace qm::posix {

/// Removes the item `name` in `folder`: a file, a link, never its target, or a whole tree. The contents of other file
/// systems mounted below are never touched. If the system reports such mounts beforehand, nothing is removed at all.
/// Stops at the first failure.
FileError removeTree(int folder, const std::string& name);
/// `isBegun` becomes true as soon as anything was removed.
FileError removeTree(int folder, const std::string& name, bool& isBegun);

/// The same for an item that this process created and holds open as `own`. Folders that their owner may not read or
/// change are made accessible first. ESTALE, and nothing is touched, if the name refers to something else by now.
FileError removeOwnTree(int folder, const std::string& name, int own);

/// Why the item and everything below it could not be removed, as far as that can be determined beforehand: permissions,
/// sticky folders, protected items, access lists, read-only and mounted file systems.
FileError obstacleToRemoval(int folder, const std::string& name);

}  // namespace qm::posix
