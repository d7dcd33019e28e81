// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "Platform/posix/FolderChain.h"

namespace qm::posix {

/// Keeps a walk on one mount, that of the folder that contains the tree. Functions return 0 or an error number.
class MountGuard {
 public:
  int begin(int parent) { return identify(parent, start_); }

  /// EBUSY if the walk is in a folder of another mount. In the top folder also EBUSY if something is mounted below it.
  int check(const FolderChain& chain) const;

 private:
  FolderIdentity start_;
};

/// Why the entry could not be removed from its folder, as far as that can be determined beforehand: permissions, a
/// sticky folder, protected items, access lists. Its contents are not checked.
int obstacleToRemovingEntry(int folder, const std::string& name);

/// Implements `isRemovalDenied` by `ask`, the system's question whether this process may remove the item, which returns
/// 0 or an error number. A link is not asked about, because `ask` checks the link's target. An error that is no refusal
/// does not count: then the removal itself shows what is wrong.
template <class Ask>
bool isRemovalDeniedBy(Ask ask, int folder, const char* name) {
  struct stat found {};
  if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(found.st_mode)) return false;
  const int error = ask();
  return error == EACCES || error == EPERM;
}

}  // namespace qm::posix
