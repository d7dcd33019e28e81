// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "Platform/linux/trash/TrashInfo.h"
#include "Platform/posix/TrashName.h"

namespace qm::linux_ {

using posix::freeNumber;

/// How many names are tried where others may take them meanwhile.
inline constexpr unsigned kMostNames = 64;

/// The names that an item may get in the Trash, with room for the ".trashinfo" file.
class TrashName : public posix::TrashName {
 public:
  /// `limit` is the length of the longest file name on the volume, in bytes.
  TrashName(std::string_view name, std::size_t limit)
      : posix::TrashName(name, limit - std::min(limit, kTrashInfoSuffix.size())) {}
};

}  // namespace qm::linux_
