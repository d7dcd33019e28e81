// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/rights/Writers.h"
#include "Platform/posix/rights/PathWalk.h"

namespace qm::linux_ {

using posix::Answer;
using posix::LastLink;
using posix::openFolderThroughRootsLinks;
using posix::PinnedPlace;
using posix::pinPath;
using posix::pinPathMakingFolders;
using posix::Refusal;

}  // namespace qm::linux_
