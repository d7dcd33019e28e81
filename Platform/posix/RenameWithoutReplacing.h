#pragma once

#include "Platform/posix/ItemName.h"

namespace qm::posix {

/// Renames, and fails with EEXIST when anything, a dangling link included, has the new name. A folder that would go
/// into itself gives EINVAL. Answers 0 or an error number.
///
/// Where the file system has no such rename, there are steps, between which the process may end:
/// - What is no folder gets the new name as a second one, then loses the first. In between it has both.
/// - Where it cannot have two, the name is taken by an empty file first and the item renamed over that. What may be
/// left
///   is the empty file.
/// - A folder is renamed after a look whether the name is free. Nothing is ever left; an empty folder that gets the
/// name
///   right after the look is replaced, and nothing else can be.
int renameWithoutReplacing(ItemName from, ItemName to);

}  // namespace qm::posix
