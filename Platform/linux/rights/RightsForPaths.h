// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::linux_ {

using posix::RightsForPaths;

}  // namespace qm::linux_
