// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::macos {

/// What is known of an item that the system would not let go.
struct RefusedItem {
  std::string path;
  std::optional<unsigned> flags;        ///< of the item itself (st_flags); null where they cannot be read
  std::optional<unsigned> folderFlags;  ///< of the folder that it is in
  int obstacle = 0;  ///< why permissions, a sticky folder or an access list keep it, as an error number
};

/// Why the system keeps an item from a program whatever the permissions say, and where that is allowed: one sentence
/// or two. "" where permissions, a lock or something else is, or may be, the reason.
std::string systemRefusal(int error, const RefusedItem& item);

/// What is found out about the item at a path. A link itself is meant.
RefusedItem refusedItemAt(const std::string& path);

}  // namespace qm::macos
