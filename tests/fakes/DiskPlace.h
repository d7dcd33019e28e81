#pragma once

#include <cerrno>
#include <memory>
#include <string>

#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

/// Where a path leads.
struct FakeDisk::Place {
  int error = 0;                     ///< ENOENT also when only the last component is missing
  std::shared_ptr<DiskNode> item;    ///< null when nothing is there
  std::shared_ptr<DiskNode> folder;  ///< the one that holds the item or would hold it; null when there is none
  std::string name;

  /// Only the last component is missing: an item can be put there.
  bool isFree() const { return error == ENOENT && folder != nullptr; }
};

}  // namespace qm::testing
