#pragma once

#include "Platform/posix/ItemName.h"

namespace qm::posix {

/// Renames, and fails with EEXIST when anything, a dangling link included, has the new name. A folder that would go
/// into itself gives EINVAL. Answers 0 or an error number. Where the file system has no such rename, the name is
/// taken by an empty placeholder first and the item renamed over that: a name that is in use is still noticed. A
/// process that ends in between leaves the placeholder.
int renameWithoutReplacing(ItemName from, ItemName to);

}  // namespace qm::posix
