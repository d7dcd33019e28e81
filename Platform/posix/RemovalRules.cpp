// SPDX-License-Identifier: MIT
#include "Platform/posix/RemovalRules.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
namespace {

/// In a sticky folder only the owner of the item or of the folder may remove it. Assumes that root may as well.
bool stickyFolderForbids(const struct stat& folder, const struct stat& item) {
  const uid_t self = ::geteuid();
  return (folder.st_mode & S_ISVTX) != 0 && self != 0 && folder.st_uid != self && item.st_uid != self;
}

}  // namespace

int MountGuard::check(const FolderChain& chain) const {
  if (!chain.identity().sameMount(start_)) return EBUSY;
  return chain.depth() == 1 && holdsMountPoint(chain.folder()) ? EBUSY : 0;
}

int obstacleToRemovingEntry(int folder, const std::string& name) {
  struct stat folderAttributes {};
  struct stat itemAttributes {};
  if (::fstatat(folder, name.c_str(), &itemAttributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (::fstat(folder, &folderAttributes) != 0) return errno;
  if (::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) != 0) return errno;
  const bool forbidden = stickyFolderForbids(folderAttributes, itemAttributes) || isProtected(folder, ".") ||
                         isProtected(folder, name.c_str()) || isRemovalDenied(folder, name.c_str());
  return forbidden ? EPERM : 0;
}

}  // namespace qm::posix
