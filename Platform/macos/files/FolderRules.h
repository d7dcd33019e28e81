// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Rules for folders on a Mac: who can change the names in a folder, and whether a volume is mounted below it.
namespace qm::macos {

struct FolderFacts {
  bool isLocal = false;
  bool ignoresOwners = false;
  uid_t mountedBy = 0;
  uid_t owner = 0;
};

/// Whether the owner that the system reports for a folder cannot be trusted. On a volume that ignores owners, and in a
/// folder of the account "unknown", every user is treated as the owner. If a volume is not local, or if a user has
/// mounted it, somebody other than root decides what it reports.
inline bool isSomebodysWord(const FolderFacts& folder) {
  constexpr uid_t kUnknown = 99;
  return !folder.isLocal || folder.ignoresOwners || folder.mountedBy != 0 || folder.owner == kUnknown;
}

/// One entry of an access list.
struct AccessEntry {
  bool isKnown = false;  ///< the entry could be read
  bool allows = false;
  std::uint64_t rights = 0;
};

// The rights of access lists, with the system's numbers.
inline constexpr std::uint64_t kAddFile = 1U << 2U;
inline constexpr std::uint64_t kDelete = 1U << 4U;
inline constexpr std::uint64_t kAddFolder = 1U << 5U;
inline constexpr std::uint64_t kDeleteChild = 1U << 6U;
inline constexpr std::uint64_t kWriteSecurity = 1U << 12U;
inline constexpr std::uint64_t kChangeOwner = 1U << 13U;

/// With any of these rights a user can change what a name in the folder refers to. An entry that could not be read
/// counts as one that grants them.
inline bool grantsWriting(const AccessEntry& entry) {
  constexpr std::uint64_t kWriting = kAddFile | kDelete | kAddFolder | kDeleteChild | kWriteSecurity | kChangeOwner;
  return !entry.isKnown || (entry.allows && (entry.rights & kWriting) != 0);
}

/// The path without the mount point of the data volume, because the system shows the items of that volume at the root
/// as well.
inline std::string_view seenFromRoot(std::string_view path) {
  constexpr std::string_view kData = "/System/Volumes/Data";
  return path.starts_with(kData) && path.substr(kData.size()).starts_with('/') ? path.substr(kData.size()) : path;
}

/// Whether something is mounted below the folder. A volume that is mounted at the folder itself does not count.
inline bool holdsAny(std::string_view folder, const std::vector<std::string>& mountPoints) {
  const std::string_view above = folder == "/" ? std::string_view() : seenFromRoot(folder);
  return std::ranges::any_of(mountPoints, [&](const std::string& each) {
    const std::string_view point = seenFromRoot(each);
    return point.size() > above.size() + 1 && point.starts_with(above) && point[above.size()] == '/';
  });
}

}  // namespace qm::macos
