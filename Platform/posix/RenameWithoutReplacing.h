// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/ItemName.h"

namespace qm::posix {

/// Renames, and fails with EEXIST if anything, even a dangling link, has the new name. EINVAL for a folder that would
/// be put into itself. Returns 0 or an error number.
///
/// A file system without such a rename needs several steps, between which the process may end:
/// - An item that is not a folder gets the new name as a second hard link, and then loses the first name. In between it
///   has both.
/// - If it cannot have two names, an empty file reserves the new name, and the item is renamed over it. That empty file
///   may be left over.
/// - A folder is renamed after a check that the name is free. Nothing is ever left over. An empty folder that takes the
///   name right after the check is replaced; nothing else can be.
int renameWithoutReplacing(ItemName from, ItemName to);

}  // namespace qm::posix
