// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/posix/rights/WorkFolder.h"

namespace qm::linux_ {

using posix::WorkFolder;

}  // namespace qm::linux_
