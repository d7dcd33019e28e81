// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Who has a say in a folder on a Mac, and what is mounted in it.
namespace qm::macos {

struct FolderFacts {
  bool isLocal = false;
  bool ignoresOwners = false;
  uid_t mountedBy = 0;
  uid_t owner = 0;
};

/// A volume whose owners are ignored lets everybody be the owner, as does a folder of the account "unknown". A volume
/// that is no local one of root's is for somebody else to speak for.
inline bool isSomebodysWord(const FolderFacts& folder) {
  constexpr uid_t kUnknown = 99;
  return !folder.isLocal || folder.ignoresOwners || folder.mountedBy != 0 || folder.owner == kUnknown;
}

/// One entry of an access list.
struct AccessEntry {
  bool isKnown = false;  ///< the system has told it
  bool allows = false;
  std::uint64_t rights = 0;
};

// As the system numbers them.
inline constexpr std::uint64_t kAddFile = 1U << 2U;
inline constexpr std::uint64_t kDelete = 1U << 4U;
inline constexpr std::uint64_t kAddFolder = 1U << 5U;
inline constexpr std::uint64_t kDeleteChild = 1U << 6U;
inline constexpr std::uint64_t kWriteSecurity = 1U << 12U;
inline constexpr std::uint64_t kChangeOwner = 1U << 13U;

/// With any of these somebody decides what a name in the folder stands for.
inline bool grantsWriting(const AccessEntry& entry) {
  constexpr std::uint64_t kWriting = kAddFile | kDelete | kAddFolder | kDeleteChild | kWriteSecurity | kChangeOwner;
  return !entry.isKnown || (entry.allows && (entry.rights & kWriting) != 0);
}

/// What is on the volume for data the system shows at the root as well.
inline std::string_view seenFromRoot(std::string_view path) {
  constexpr std::string_view kData = "/System/Volumes/Data";
  return path.starts_with(kData) && path.substr(kData.size()).starts_with('/') ? path.substr(kData.size()) : path;
}

/// Something is mounted below the folder, not at it.
inline bool holdsAny(std::string_view folder, const std::vector<std::string>& mountPoints) {
  const std::string_view above = folder == "/" ? std::string_view() : seenFromRoot(folder);
  return std::ranges::any_of(mountPoints, [&](const std::string& each) {
    const std::string_view point = seenFromRoot(each);
    return point.size() > above.size() + 1 && point.starts_with(above) && point[above.size()] == '/';
  });
}

}  // namespace qm::macos
