#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "Platform/linux/rights/FileSystemUser.h"
#include "Platform/linux/trash/SourceFolder.h"
#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashUser.h"

namespace qm::linux_ {

/// Which Trash an item goes to. The calling thread works with the user's rights. Any thread.
///
/// The home trash stays open between two calls and is looked at again in each: where its path no longer
/// leads to the same folders, it is opened, or made, anew. The Trash of another volume is opened each
/// time, since an open folder would keep the volume from being ejected.
class TrashFinder {
 public:
  OpenedTrash homeTrash(const TrashUser& user, MissingTrash missing = MissingTrash::IsMade);

  /// The Trash on the volume of a folder: the home trash where that lies on it, else the volume's own.
  /// `home` is the answer of `homeTrash`.
  static OpenedTrash trashFor(const SourceFolder& source, const TrashUser& user, OpenedTrash& home,
                              FileSystemUser& acting);

  /// The Trashes of the user's that are on the volume of a folder, but for the home trash. Makes nothing.
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
