#pragma once

namespace qm::linux_ {

/// Renames an item into another folder; anything of that name there makes it fail with EEXIST. Answers
/// the error number, 0 after a success. Where the file system has no such rename, the name is taken by
/// an empty placeholder first and the item renamed over that: a name that is in use is still noticed.
int renameWithoutReplacing(int fromFolder, const char* name, int toFolder, const char* newName);

}  // namespace qm::linux_
