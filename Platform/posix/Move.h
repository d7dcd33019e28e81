#pragma once

#include <string>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileError.h"

namespace qm::posix {

/// Moves an item to a path where nothing is. Across volumes it is copied first, after a look whether it
/// could be removed at its old place at all, and removed when the copy is complete and in its place;
/// when that removal fails midway the copy stays, so that nothing is lost.
FileError moveTree(const std::string& source, const std::string& destination);

/// The same without removing the source: a copy.
FileError copyTree(const std::string& source, const std::string& destination, CopyObserver& observer);

}  // namespace qm::posix
