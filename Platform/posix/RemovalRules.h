#pragma once

#include <string>

#include "Platform/posix/FolderChain.h"

namespace qm::posix {

/// Keeps a walk on one mount. The folder that the tree is in says which. Functions answer 0 or an error number.
class MountGuard {
 public:
  int begin(int parent) { return identify(parent, start_); }

  /// EBUSY in a folder of another mount, and at the top when something is mounted anywhere below.
  int check(const FolderChain& chain) const;

 private:
  FolderIdentity start_;
};

/// Why the entry could not be taken out of its folder, as far as that can be told beforehand: permissions, a sticky
/// folder, protected items, access lists. What is below it does not count.
int obstacleToRemovingEntry(int folder, const std::string& name);

}  // namespace qm::posix
