#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Status.h"

namespace qm::platform {

/// Moving to the Trash. Any thread.
class Trash {
 public:
  virtual ~Trash() = default;

  /// Moves the named items of a folder to the Trash of the user meant, who is the console user
  /// when the real user id is 0. `trashDirectory` is that user's ~/.Trash; without it there is no
  /// user to trash for, and the operation fails. Names are single components. A link is moved, not
  /// followed. Clashes in the Trash are settled by renaming there; nothing is overwritten, deleted
  /// or copied across volumes. Stops at the first name that fails and returns why: that item is
  /// where it was, those before it are in the Trash.
  virtual Status recycle(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                         const std::vector<std::string>& names) = 0;

  /// Writes to the disk what `recycle` has done since the last call, and waits for it: before, a power cut can leave an
  /// item in the Trash that does not know where it came from. Once for many items, since each wait takes as long as
  /// hundreds of items.
  virtual void makeDurable() = 0;
};

}  // namespace qm::platform
