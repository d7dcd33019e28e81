// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {

/// Moves an item to a path where nothing exists. To another volume it is copied, after a check whether the original
/// could be removed at all. Once the copy is complete, in its location and on the disk, the original is renamed to a
/// hidden name beside it (see `renameWithoutReplacing`) and removed there.
///
/// A failure before the removal leaves the item as it was and no copy. If the removal fails midway, the copy stays and
/// the error names the hidden remainder. If the process ends during the copy, the item is at its old location, and a
/// hidden incomplete copy may be left beside the new one. If it ends later, the item exists in both locations, or it is
/// complete at the new one with a hidden remainder beside the old one.
FileError moveTree(const std::string& source, const std::string& destination);

/// The same between two locations.
FileError moveTree(const Place& source, const Place& destination);

/// The same between two locations; a file or an empty folder at the destination is replaced.
FileError moveTreeReplacing(const Place& source, const Place& destination);

/// The same without removing the source: a copy.
FileError copyTree(const std::string& source, const std::string& destination, CopyObserver& observer);

}  // namespace qm::posix
