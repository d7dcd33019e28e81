// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <vector>

#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The folders from a starting folder down to the current one of a walk. Only the deepest few and the first are kept
/// open, so that a tree may be deeper than the limit of descriptors. The way back up uses ".." and must lead to the
/// folder that it came from. Links are never followed. Functions return 0 or an error number.
class FolderChain {
 public:
  /// Begins at `folder`, which is duplicated.
  int start(int folder);

  /// Enters `name`. ENOTDIR or ELOOP if that is not a folder.
  int enter(const char* name);

  /// Goes up to the parent. `left` receives the folder that was left, still open. ESTALE if the folder was moved
  /// elsewhere meanwhile.
  int leave(UniqueFd& left);

  int folder() const { return levels_.back().folder.get(); }
  const FolderIdentity& identity() const { return levels_.back().identity; }

  /// 0 in the starting folder.
  std::size_t depth() const { return levels_.size() - 1; }

 private:
  struct Level {
    UniqueFd folder;
    FolderIdentity identity;
  };

  void closeFarLevel();
  int reopenParent(int child, Level& parent) const;

  std::vector<Level> levels_;
};

}  // namespace qm::posix
