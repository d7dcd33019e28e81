// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Users.h"
#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/rights/UserDatabase.h"
#include "Platform/linux/trash/TrashProblem.h"

namespace qm::linux_ {

/// The user whose Trash is meant.
struct TrashUser {
  FileSystemIdentity identity;
  std::string home;
  /// The data folder that contains the home trash, if the environment sets one. Otherwise the data folder is below
  /// `home`.
  std::optional<std::string> dataHome;
  /// Whether the process runs as root and works for somebody else.
  bool forAnother = false;
  /// The prefix of the names of root's work folders in this user's Trash; without it none is created or touched.
  std::string workFolderPrefix;
};

/// A user for whom a root process works.
TrashUser trashUserFor(const UserRecord& user, std::string_view workFolderPrefix);

/// The process's own user; as root, the user at the console. `dataHome` comes from the environment and counts only if
/// the environment is that user's own.
TrashAnswer<TrashUser> findTrashUser(const platform::Users& users, const std::optional<std::string>& dataHome,
                                     std::string_view workFolderPrefix = {});

}  // namespace qm::linux_
