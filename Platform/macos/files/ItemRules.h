// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cerrno>

#include "Platform/macos/files/FlagBits.h"

/// Rules for items on a Mac: which may be cloned, and what root may change. Each returns 0 if it is allowed, and an
/// error number otherwise.
namespace qm::macos {

/// The system's error number (ENOATTR) for an extended attribute that an item does not have.
inline constexpr int kNoAttribute = 93;

/// A clone has the attributes of its file from the beginning. So a file with a set-user-id or set-group-id bit is not
/// cloned, because the clone may have another owner and would run with that owner's rights. A file that its owner may
/// not read, or that is locked, is not cloned, because the clone could not be opened or changed. The number is not
/// ENOTSUP, which would mean that the volume makes no clones.
inline int obstacleToCloning(mode_t mode, std::uint32_t flags) {
  return (mode & (S_ISUID | S_ISGID)) != 0 || (mode & S_IRUSR) == 0 || (flags & kLocked) != 0 ? EPERM : 0;
}

/// Root changes nothing of a file that has another name elsewhere, because somebody may have linked another user's file
/// here.
inline int obstacleToChanging(const struct stat& item, bool isRoot) {
  return isRoot && !S_ISDIR(item.st_mode) && item.st_nlink > 1 ? EPERM : 0;
}

/// The same for the lock. A link has none.
inline int obstacleToLocking(const struct stat& item, bool isRoot) {
  return S_ISLNK(item.st_mode) ? ENOTSUP : obstacleToChanging(item, isRoot);
}

}  // namespace qm::macos
