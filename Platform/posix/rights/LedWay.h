#pragma once

#include <string>

#include "Platform/posix/rights/Writers.h"

namespace qm::posix {

/// Everybody but root who can lead the way to the item of a path, or to where it would be made, elsewhere. Anybody,
/// where that cannot be found out.
Writers writersOnTheWayTo(const std::string& path);

}  // namespace qm::posix
