// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/trash/TrashFinder.h"

namespace qm::linux_ {

/// The Trashes that may contain items from a path.
struct TrashesOfPath {
  std::string path;  ///< without links on the way, as in descriptions
  std::vector<SharedTrashDirectory> trashes;
  std::optional<TrashProblem> problem;  ///< of an existing Trash that cannot be used
};

/// The home trash, the one that ~/.Trash leads to, and those on the volume of the folder that contained the item, or of
/// its nearest existing parent. Creates nothing. The calling thread has the process's own rights.
TrashesOfPath trashesOfPath(const std::string& path, const TrashUser& user, TrashFinder& finder);

}  // namespace qm::linux_
