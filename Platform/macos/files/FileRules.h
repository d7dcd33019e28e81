// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Rules for items and folders on a Mac. The system's numbers that they need are defined here, so that the rules can be
/// compiled and tested on every system.
namespace qm::macos {

// Flags of items (st_flags).
inline constexpr std::uint32_t kNoDump = 0x00000001;
inline constexpr std::uint32_t kUserImmutable = 0x00000002;
inline constexpr std::uint32_t kUserAppend = 0x00000004;
inline constexpr std::uint32_t kOpaque = 0x00000008;
inline constexpr std::uint32_t kHidden = 0x00008000;
inline constexpr std::uint32_t kSystemImmutable = 0x00020000;
inline constexpr std::uint32_t kSystemAppend = 0x00040000;
inline constexpr std::uint32_t kRestricted = 0x00080000;
inline constexpr std::uint32_t kNoUnlink = 0x00100000;

/// An item with any of these flags cannot be renamed, removed or overwritten, whatever its permissions.
inline constexpr std::uint32_t kLocked = kUserImmutable | kUserAppend | kSystemImmutable | kSystemAppend;

/// The flags of a copy: those that the owner of an item may set. Flags that the file system itself maintains are not
/// copied.
inline std::uint32_t flagsOfCopy(std::uint32_t flags) {
  return flags & (kNoDump | kUserImmutable | kUserAppend | kOpaque | kHidden);
}

/// Whether the flags forbid to rename and remove the item.
inline bool isProtectedBy(std::uint32_t flags) { return (flags & (kLocked | kRestricted | kNoUnlink)) != 0; }

/// The system's error number (ENOATTR) for an extended attribute that an item does not have.
inline constexpr int kNoAttribute = 93;

// The functions named "obstacle" return 0 if the operation is allowed, and an error number otherwise.

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

/// The system's `O_EXEC`. With `O_DIRECTORY` it opens a folder that may be searched but not read.
inline constexpr int kOpenToSearch = 0x40000000;

/// The access mode of a folder that is opened only to name items in it. Before macOS 13 there is no mode for that, and
/// the folder must be readable.
inline int lookupMode(bool isSince13) { return isSince13 ? kOpenToSearch : O_RDONLY; }

struct FolderFacts {
  bool isLocal = false;
  bool ignoresOwners = false;
  uid_t mountedBy = 0;
  uid_t owner = 0;
};

/// Whether the owner that the system reports for a folder cannot be trusted. On a volume that ignores owners, and in a
/// folder of the account "unknown", every user is treated as the owner. If a volume is not local, or if a user has
/// mounted it, somebody other than root decides what it reports. The same holds if the facts cannot be determined.
inline bool hasUntrustedOwner(const std::optional<FolderFacts>& folder) {
  constexpr uid_t kUnknown = 99;
  return !folder || !folder->isLocal || folder->ignoresOwners || folder->mountedBy != 0 || folder->owner == kUnknown;
}

/// The path without the mount point of the data volume, because the system shows the items of that volume at the root
/// as well.
inline std::string_view seenFromRoot(std::string_view path) {
  constexpr std::string_view kData = "/System/Volumes/Data";
  return path.starts_with(kData) && path.substr(kData.size()).starts_with('/') ? path.substr(kData.size()) : path;
}

/// Whether something is mounted below the folder. A volume that is mounted at the folder itself does not count. Nothing
/// is known of a folder without a path: "".
inline bool holdsAny(std::string_view folder, const std::vector<std::string>& mountPoints) {
  if (folder.empty()) return false;
  const std::string_view above = folder == "/" ? std::string_view() : seenFromRoot(folder);
  return std::ranges::any_of(mountPoints, [&](const std::string& each) {
    const std::string_view point = seenFromRoot(each);
    return point.size() > above.size() + 1 && point.starts_with(above) && point[above.size()] == '/';
  });
}

}  // namespace qm::macos
