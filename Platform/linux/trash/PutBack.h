// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "Platform/linux/files/MountTable.h"
#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/trash/PutBackPlace.h"
#include "Platform/linux/trash/StoredItems.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashUser.h"

namespace qm::linux_ {

/// Moves an item from a Trash back to its origin and removes its description, or returns why it stays. The calling
/// thread works with the user's rights. If those do not suffice and the destination allows it, root's are used (see
/// `RootPutBack`).
std::optional<TrashProblem> putBack(const TrashDirectory& trash, const StoredItem& item, const PutBackPlace& place,
                                    const TrashUser& user, FileSystemUser& acting, MountedVolumes& volumes);

}  // namespace qm::linux_
