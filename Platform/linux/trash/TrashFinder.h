// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/trash/SourceFolder.h"
#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashUser.h"

namespace qm::linux_ {

/// Finds the Trash that an item goes to. The calling thread works with the user's rights. Any thread.
///
/// The home trash stays open between calls and is checked in each: if its path no longer leads to the same folders, it
/// is opened, or created, again. The Trash of another volume is opened each time, since an open folder would prevent
/// the volume from being ejected.
class TrashFinder {
 public:
  OpenedTrash homeTrash(const TrashUser& user, MissingTrash missing = MissingTrash::IsMade);

  /// The Trash on the volume of a folder: the home trash if that is on it, else the volume's own. `home` is the result
  /// of `homeTrash`.
  static OpenedTrash trashFor(const SourceFolder& source, const TrashUser& user, OpenedTrash& home,
                              FileSystemUser& acting);

  /// The user's Trashes on the volume of a folder, without the home trash. Creates nothing.
  static std::vector<OpenedTrash> volumeTrashes(const SourceFolder& source, const TrashUser& user,
                                                FileSystemUser& acting);

 private:
  struct Home {
    uid_t owner = 0;
    std::string folder;  // the Trash, by the path that leads to it
    SharedTrashDirectory trash;
  };

  SharedTrashDirectory remembered(uid_t owner, const std::string& folder);
  void remember(Home home);

  std::mutex mutex_;
  Home home_;
};

}  // namespace qm::linux_
