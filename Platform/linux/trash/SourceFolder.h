#pragma once

#include <string>

#include "Platform/linux/files/MountTable.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The folder that an item is taken from, held by a descriptor: what happens to the path afterwards does
/// not change where the item comes from.
struct SourceFolder {
  posix::UniqueFd fd;
  ItemIdentity identity;
  std::string path;  ///< absolute and without links
  /// Root may use its own rights here: no link that a person could have planted led to the folder.
  bool withRootRights = false;
};

/// Opens a folder by an absolute path that may lead through links. As root, links that only root can make are followed
/// with root's rights; from any other link on, the rights of the person whom it is for are all there is, and none where
/// it is for root itself.
TrashAnswer<SourceFolder> openSourceFolder(const std::string& folder, const TrashUser& user);

/// The same with the user's rights all the way.
TrashAnswer<SourceFolder> openFolderAsUser(const std::string& folder, const TrashUser& user);

/// The problem of a folder that cannot be opened.
TrashProblem folderProblem(int code);

}  // namespace qm::linux_
