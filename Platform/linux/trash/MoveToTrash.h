// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/trash/SourceFolder.h"
#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashProblem.h"

namespace qm::linux_ {

/// Moves one item of a folder into a Trash, or returns why it stays. The ".trashinfo" file is written first and
/// reserves the name, `*stored`; it is removed again if the item cannot follow. The calling thread works with the
/// user's rights. If those do not suffice and the folder allows it, a root process moves the item with its own and
/// hands it over (see `RootMove`).
std::optional<TrashProblem> moveToTrash(const SourceFolder& source, const std::string& name,
                                        const SharedTrashDirectory& trash, const std::string& deletionDate,
                                        FileSystemUser& acting, MountedVolumes& volumes, std::string* stored);

}  // namespace qm::linux_
