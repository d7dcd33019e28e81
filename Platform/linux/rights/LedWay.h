#pragma once

#include <string>

#include "Platform/linux/rights/Writers.h"

namespace qm::linux_ {

/// Everybody but root who can lead the way to the item of a path, or to where it would be made, elsewhere. Anybody,
/// where that cannot be found out.
Writers writersOnTheWayTo(const std::string& path);

}  // namespace qm::linux_
