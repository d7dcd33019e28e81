#pragma once

#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"

namespace qm::linux_ {

/// Copies an item to a place. A file there is replaced in one step; a folder is kept, and what the copied one holds is
/// put into it. Stops at the first failure: what was copied before stays.
posix::FileError copyMerging(const posix::Place& source, const posix::Place& target);

}  // namespace qm::linux_
