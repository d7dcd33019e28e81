#pragma once

#include "Platform/Users.h"
#include "Platform/posix/CopyRights.h"

namespace qm::linux_ {

/// The rights of copies in the background, the same as those of `LinuxFileSystem`. The users outlive every copy.
posix::CopyRights copyRights(const platform::Users& users);

}  // namespace qm::linux_
