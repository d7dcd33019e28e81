// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "Platform/linux/files/MountTable.h"

namespace qm::linux_ {

/// Renames the item `name` of a folder with the rights of the calling thread. To move a folder elsewhere, the system
/// requires write permission on the folder itself. Its owner can always grant that. So if only this permission is
/// missing, it is set for the rename. Afterwards the mode is as before, whether or not the rename succeeded. `rename`
/// returns 0 or an error number.
int renameUnlocking(int folder, const std::string& name, const ItemIdentity& item, uid_t owner,
                    const std::function<int()>& rename);

}  // namespace qm::linux_
