#pragma once

#include <string>

#include "Platform/linux/rights/Writers.h"

namespace qm::linux_ {

/// Everybody but root who can redirect a path, or the path to where an item would be created. Anybody, if that cannot
/// be determined.
Writers writersOnTheWayTo(const std::string& path);

}  // namespace qm::linux_
