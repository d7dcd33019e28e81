// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::posix {

/// An item's parent folder and its name; the item need not exist yet.
struct ItemName {
  int folder;
  const std::string& name;
};

}  // namespace qm::posix
