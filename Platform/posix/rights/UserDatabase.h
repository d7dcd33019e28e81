// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {

struct UserRecord {
  uid_t id = 0;
  gid_t group = 0;
  std::string name;
  std::string home;
};

/// The system's user database, whatever its source. Null for an unknown user. Any thread.
std::optional<UserRecord> userWithId(uid_t id);
std::optional<UserRecord> userWithName(const std::string& name);

/// All users that the database lists. A directory service may know more than it lists. One thread of a process at a
/// time.
std::vector<UserRecord> listedUsers();

/// The rights of a user in the file system, with all groups that the database assigns to the user.
FileSystemIdentity identityOf(const UserRecord& user);

}  // namespace qm::posix
