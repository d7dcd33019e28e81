#pragma once

#include <string>

namespace qm::posix {

/// An item by the folder that it is or will be in.
struct ItemName {
  int folder;
  const std::string& name;
};

}  // namespace qm::posix
