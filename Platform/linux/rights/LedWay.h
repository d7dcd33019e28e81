#pragma once

#include "Platform/posix/rights/LedWay.h"

namespace qm::linux_ {

using posix::writersOnTheWayTo;

}  // namespace qm::linux_
