// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"

namespace qm::linux_ {

/// Copies an item to a destination. An existing file is replaced in one step; an existing folder is kept, and the
/// contents of the copied one are put into it. Stops at the first failure: what was copied before stays.
posix::FileError copyMerging(const posix::Place& source, const posix::Place& target);

}  // namespace qm::linux_
