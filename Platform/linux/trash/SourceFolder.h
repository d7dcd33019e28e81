// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/linux/files/MountTable.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The folder that an item is taken from, held by a descriptor. Later changes of the path do not change where the item
/// comes from.
struct SourceFolder {
  posix::UniqueFd fd;
  ItemIdentity identity;
  std::string path;  ///< absolute and without links
  /// Root may use its own rights here, because no link that a user could have planted led to the folder.
  bool withRootRights = false;
};

/// Opens a folder by an absolute path that may contain links. As root, links that only root can make are followed with
/// root's rights. From any other link on, only the rights of the user that the process works for are used. If it works
/// for root itself, the path is refused.
TrashAnswer<SourceFolder> openSourceFolder(const std::string& folder, const TrashUser& user);

/// The same with the user's rights for the whole path.
TrashAnswer<SourceFolder> openFolderAsUser(const std::string& folder, const TrashUser& user);

/// The problem of a folder that cannot be opened.
TrashProblem folderProblem(int code);

}  // namespace qm::linux_
