// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/rights/Writers.h"

namespace qm::posix {

/// Everybody but root who can redirect a path, or the path to where an item would be created. Anybody, if that cannot
/// be determined.
Writers writersOfPath(const std::string& path);

/// Whether anybody but root can change what is in the folder at the path or anywhere below it, for a path that nobody
/// else can redirect. False for an item that is no folder. True if it cannot be determined.
bool othersWriteBelow(const std::string& path);

}  // namespace qm::posix
