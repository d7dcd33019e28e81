// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::linux_ {

using posix::FileSystemIdentity;
using posix::FileSystemUser;

}  // namespace qm::linux_
