// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cerrno>

#include "Platform/macos/files/FlagBits.h"

/// What items a Mac's calls may be used on.
namespace qm::macos {

/// A clone has the attributes of its file at once: no bits that lend rights, none that forbid its owner to open or
/// change it.
inline bool mayBeCloned(mode_t mode, std::uint32_t flags) {
  return (mode & (S_ISUID | S_ISGID)) == 0 && (mode & S_IRUSR) != 0 && (flags & kLocked) == 0;
}

/// Why the lock of an item is not to be changed, as an error number. A link has none. Root changes that of no file with
/// another name elsewhere: somebody may have brought it here.
inline int obstacleToLocking(const struct stat& item, bool isRoot) {
  if (S_ISLNK(item.st_mode)) return ENOTSUP;
  return isRoot && !S_ISDIR(item.st_mode) && item.st_nlink > 1 ? EPERM : 0;
}

}  // namespace qm::macos
