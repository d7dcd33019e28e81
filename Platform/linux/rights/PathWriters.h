// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/rights/PathWriters.h"

namespace qm::linux_ {

using posix::writersOfPath;

}  // namespace qm::linux_
