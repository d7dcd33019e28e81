// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/rights/SystemRights.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::linux_ {

using posix::isSameItem;
using posix::isUserSpaceFileSystem;
using posix::onlyRootWrites;
using posix::onlyRootWritesTree;
using posix::statusIn;
using posix::statusOf;
using posix::Writers;
using posix::writersOfEntry;

}  // namespace qm::linux_
