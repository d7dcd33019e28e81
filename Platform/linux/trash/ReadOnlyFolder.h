// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "Platform/linux/files/MountTable.h"

namespace qm::linux_ {

/// Renames the item `name` of a folder with the rights of the calling thread. Moving a folder elsewhere takes write
/// permission on the folder itself, which its owner can always grant. That is done if nothing else prevents the move;
/// afterwards the mode is as before, wherever the folder is then. `rename` returns 0 or an error number.
int renameUnlocking(int folder, const std::string& name, const ItemIdentity& item, uid_t owner,
                    const std::function<int()>& rename);

}  // namespace qm::linux_
