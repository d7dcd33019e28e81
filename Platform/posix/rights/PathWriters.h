// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/rights/Writers.h"

namespace qm::posix {

/// Everybody but root who can redirect a path, or the path to where an item would be created. Anybody, if that cannot
/// be determined.
Writers writersOfPath(const std::string& path);

}  // namespace qm::posix
