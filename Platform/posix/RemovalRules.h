// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/FolderChain.h"

namespace qm::posix {

/// Keeps a walk on one mount, that of the folder that contains the tree. Functions return 0 or an error number.
class MountGuard {
 public:
  int begin(int parent) { return identify(parent, start_); }

  /// EBUSY in a folder of another mount, and at the top if something is mounted anywhere below.
  int check(const FolderChain& chain) const;

 private:
  FolderIdentity start_;
};

/// Why the entry could not be removed from its folder, as far as that can be determined beforehand: permissions, a
/// sticky folder, protected items, access lists. Its contents are not checked.
int obstacleToRemovingEntry(int folder, const std::string& name);

}  // namespace qm::posix
