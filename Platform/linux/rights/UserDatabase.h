// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/posix/rights/UserDatabase.h"

namespace qm::linux_ {

using posix::FileSystemIdentity;
using posix::FileSystemUser;
using posix::identityOf;
using posix::listedUsers;
using posix::UserRecord;
using posix::userWithId;
using posix::userWithName;

}  // namespace qm::linux_
