#pragma once

#include <string>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {

/// Moves an item to a path where nothing is. Across volumes it is copied first, after a look whether it
/// could be removed at its old place at all. When the copy is complete, in its place and on the disk, the item goes
/// from its old place in one step, to a hidden name beside it, and is removed there. A failure before anything was
/// removed leaves the item as it was and no copy. When the removal fails midway the copy stays, and the error names the
/// hidden rest. A process that ends meanwhile leaves the item in both places, or a hidden rest of it at the old one.
FileError moveTree(const std::string& source, const std::string& destination);

/// The same between two places.
FileError moveTree(const Place& source, const Place& destination);

/// The same between two places, where a file or an empty folder at the destination is replaced.
FileError moveTreeReplacing(const Place& source, const Place& destination);

/// The same without removing the source: a copy.
FileError copyTree(const std::string& source, const std::string& destination, CopyObserver& observer);

}  // namespace qm::posix
