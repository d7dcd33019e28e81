#pragma once

#include <string>

#include "Platform/Trash.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Where an item goes back to: a folder held by descriptor, and a name in it.
struct PutBackPlace {
  posix::UniqueFd folder;
  std::string name;
  /// Root may use its own rights here: nobody but root can lead the way to the folder elsewhere.
  bool withRootRights = false;
};

/// Opens the folder that is to hold the item of an absolute path. As root, a link that somebody else could have planted
/// is refused. As root for somebody else, a way that only root can bend is gone with root's rights; any other with that
/// person's alone. Folders that are made are made with the person's rights, or root's where those do not suffice and
/// root's may be used. The calling thread has the process's own rights.
TrashAnswer<PutBackPlace> openPutBackPlace(const std::string& path, const TrashUser& user,
                                           platform::MissingFolders missing);

}  // namespace qm::linux_
