// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {

/// The group "admin", which every Mac has by this number.
inline constexpr gid_t kAdministrators = 80;

/// The one group that a thread gets which acts for a user: it can have no more. Administrators need theirs, which owns
/// /Applications. What the thread creates gets the group of its folder, whichever this is.
inline gid_t groupOfThread(const FileSystemIdentity& identity) {
  const bool isAdministrator = std::ranges::find(identity.groups, kAdministrators) != identity.groups.end();
  return isAdministrator ? kAdministrators : identity.gid;
}

}  // namespace qm::posix
