// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/ItemPath.h"

namespace qm::macos {

/// Opens the folder of an item to name it there. For root nobody with fewer rights can have led the way elsewhere.
/// Returns 0 or an error number.
int openHeldPlace(const std::string& path, posix::Place& place);

}  // namespace qm::macos
