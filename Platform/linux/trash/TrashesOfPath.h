#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/trash/TrashFinder.h"

namespace qm::linux_ {

/// Where what came from a path may be.
struct TrashesOfPath {
  std::string path;  ///< without links on the way, as descriptions have it
  std::vector<SharedTrashDirectory> trashes;
  std::optional<TrashProblem> problem;  ///< of a Trash that is there and cannot be used
};

/// The home trash, the one that ~/.Trash leads to, and those on the volume of the folder where the item was, or of what
/// is left of the way to it. Makes nothing. The calling thread has the process's own rights.
TrashesOfPath trashesOfPath(const std::string& path, const TrashUser& user, TrashFinder& finder);

}  // namespace qm::linux_
