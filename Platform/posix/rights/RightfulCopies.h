// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Users.h"
#include "Platform/posix/CopyRights.h"

namespace qm::posix {

/// The rights of copies in the background, the same as those of `RightfulFileSystem`. The users must outlive every
/// copy.
CopyRights rightsForCopies(const platform::Users& users);

}  // namespace qm::posix
