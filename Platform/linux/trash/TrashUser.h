#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/Users.h"
#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/rights/UserDatabase.h"
#include "Platform/linux/trash/TrashProblem.h"

namespace qm::linux_ {

/// The person whose Trash is meant.
struct TrashUser {
  FileSystemIdentity identity;
  std::string home;
  /// Where the home trash lies, when the environment says so; else it is below `home`.
  std::optional<std::string> dataHome;
  /// The process runs as root and works for somebody else.
  bool forAnother = false;
  /// What the names of root's work folders in this person's Trash begin with; without it none is made or touched.
  std::string workFolderPrefix;
};

/// A user whom a process of root's works for.
TrashUser trashUserFor(const UserRecord& user, std::string_view workFolderPrefix);

/// The process's own user; as root, the person at the console. `dataHome` is the environment's wish and
/// counts only where the environment is that person's own.
TrashAnswer<TrashUser> findTrashUser(const platform::Users& users, const std::optional<std::string>& dataHome,
                                     std::string_view workFolderPrefix = {});

}  // namespace qm::linux_
