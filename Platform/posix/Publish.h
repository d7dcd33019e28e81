#pragma once

#include <string>

#include "Platform/posix/ItemCopy.h"

namespace qm::posix {

/// A hidden name that nothing has yet, of a length that every file system takes. It protects nothing: who may list
/// the folder sees it.
std::string temporaryName();

/// Renames, and fails with EEXIST when anything, a dangling link included, has the new name. A folder
/// that would go into itself gives EINVAL. Answers 0 or an error number.
int renameWithoutReplacing(ItemName from, ItemName to);

}  // namespace qm::posix
