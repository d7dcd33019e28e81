// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

namespace qm::macos {

/// What is known about an item that could not be moved.
struct RefusedItem {
  std::string path;
  std::optional<unsigned> flags;        ///< of the item itself (st_flags); null if they cannot be read
  std::optional<unsigned> folderFlags;  ///< of the folder that it is in
  int obstacle = 0;  ///< the error if permissions, a sticky folder or an access list forbid the move; else 0
};

/// Names the protection of the system that keeps an item although its permissions allow the move, and what can be done
/// about it, in one or two sentences. "" if permissions, a lock or something else is the reason, or may be.
std::string systemRefusal(int error, const RefusedItem& item);

/// Examines the item at a path. A link is not followed.
RefusedItem refusedItemAt(const std::string& path);

}  // namespace qm::macos
