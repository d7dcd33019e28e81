// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Trash.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The destination of an item that is put back: a folder held by descriptor, and a name in it.
struct PutBackPlace {
  posix::UniqueFd folder;
  std::string name;
  /// Root may use its own rights here, because nobody but root can redirect the path to the folder.
  bool withRootRights = false;
};

/// Opens the folder that is to contain the item of an absolute path. As root, a link that somebody else could have
/// planted is refused. As root for somebody else, a path that only root can redirect is walked with root's rights, any
/// other with that user's alone. Missing folders are created with the user's rights; with root's if those do not
/// suffice and root's may be used. Call it with the process's own rights.
TrashAnswer<PutBackPlace> openPutBackPlace(const std::string& path, const TrashUser& user,
                                           platform::MissingFolders missing);

}  // namespace qm::linux_
