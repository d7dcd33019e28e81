#pragma once

#include <cstddef>
#include <vector>

#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The folders from a starting folder down to the one that a walk is in. Only the deepest few and the
/// first are held open, so that a tree may be deeper than there are descriptors; the way back up goes
/// through ".." and must lead to the folder that it came from. Links are never followed.
/// Functions answer 0 or an error number.
class FolderChain {
 public:
  /// Begins at `folder`, which is duplicated.
  int start(int folder);

  /// Goes down into `name`. ENOTDIR or ELOOP when that is no folder.
  int enter(const char* name);

  /// Goes up, to where the folder left is handed to `left` still open. ESTALE when the folder was
  /// moved elsewhere meanwhile.
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
