#pragma once

#include <string>

namespace qm::posix {

/// A path that always leads to the item of an open descriptor.
inline std::string pathOfDescriptor(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

/// The absolute path at which the system shows the item of a descriptor now; "" if it has none, or one that is longer
/// than the system accepts.
std::string shownPath(int descriptor);

}  // namespace qm::posix
