// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/// Flags of items as a Mac has them, for Platform/macos/SystemCalls.h.
namespace qm::testing::plain {

struct Flags {
  std::map<ino_t, std::uint32_t> ofItems;  ///< keyed by the item's number
  std::vector<std::string> changes;        ///< "open" or "name": how an item was changed
  int error = 0;                           ///< of every change
};
inline Flags itemFlags;

}  // namespace qm::testing::plain
