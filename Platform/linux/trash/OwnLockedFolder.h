#pragma once

#include <functional>
#include <string>

#include "Platform/linux/files/MountTable.h"

namespace qm::linux_ {

/// Renames the item `name` of a folder with the rights of the calling thread. A folder can be moved elsewhere only by
/// who may write in it, which its owner can always allow himself: that is done where nothing else stands in the way,
/// and its mode is as before afterwards, wherever it then is. `rename` returns 0 or an error number.
int renameAlsoWhenLocked(int folder, const std::string& name, const ItemIdentity& item, uid_t owner,
                         const std::function<int()>& rename);

}  // namespace qm::linux_
