// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <memory>
#include <string>

#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

/// The result of resolving a path.
struct FakeDisk::Place {
  int error = 0;                     ///< ENOENT even if only the last component is missing
  std::shared_ptr<DiskNode> item;    ///< null when nothing is there
  std::shared_ptr<DiskNode> folder;  ///< the folder that contains or would contain the item; null if there is none
  std::string name;

  /// Only the last component is missing: an item can be put there.
  bool isFree() const { return error == ENOENT && folder != nullptr; }
};

}  // namespace qm::testing
