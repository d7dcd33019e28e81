// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Platform/linux/privileges/helper/TrashMove.h"
#include "Uninstaller/Product.h"
#include "tests/privileges/LaunchMachine.h"

namespace qm::testing {

/// What happens at the beginning of a run, before its first work: what an interrupted run has left in these folders, an
/// item's and the Trash's, is mended.
inline void nextRun(const std::vector<std::string>& /*folders*/) { linux_::mendTrashMoves(person(), kProduct); }

}  // namespace qm::testing
