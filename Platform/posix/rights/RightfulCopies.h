#pragma once

#include "Platform/Users.h"
#include "Platform/posix/CopyRights.h"

namespace qm::posix {

/// The rights of copies in the background: those that `RightfulFileSystem` makes its changes with. The users outlive
/// every copy.
CopyRights rightsForCopies(const platform::Users& users);

}  // namespace qm::posix
