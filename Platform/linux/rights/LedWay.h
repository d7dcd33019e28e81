#pragma once

#include <string>

namespace qm::linux_ {

/// Nobody but root can lead the way to the item of a path, or to where it would be made, elsewhere. A path of which
/// this holds may be used by name; false also where it cannot be found out.
bool onlyRootLeadsTo(const std::string& path);

}  // namespace qm::linux_
