// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/types.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Rules for folders on a Mac: how they are opened, whether their owners can be trusted, and whether a volume is
/// mounted below them.
namespace qm::macos {

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
