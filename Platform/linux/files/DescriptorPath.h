// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {

/// A path that always leads to the item of an open descriptor.
inline std::string pathOfDescriptor(int descriptor) { return "/proc/self/fd/" + std::to_string(descriptor); }

}  // namespace qm::posix
