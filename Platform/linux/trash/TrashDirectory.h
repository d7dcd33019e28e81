// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>

#include "Platform/linux/files/MountTable.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// A Trash that was checked to be its owner's, held by descriptors. Immutable, so any number of threads may use it.
struct TrashDirectory {
  posix::UniqueFd folder;
  posix::UniqueFd files;
  posix::UniqueFd info;
  ItemIdentity folderIdentity;
  ItemIdentity filesIdentity;
  ItemIdentity infoIdentity;
  /// Absolute and without links.
  std::string path;
  /// The folder that the paths in its ".trashinfo" files are relative to; "" if they are absolute.
  std::string topFolder;
  /// The longest file name, in bytes.
  std::size_t nameLimit = 0;
  /// The prefix of the names of root's work folders (see `WorkFolder`).
  std::string workFolderPrefix;
};

using SharedTrashDirectory = std::shared_ptr<const TrashDirectory>;
/// A Trash, or why none can be used.
using OpenedTrash = TrashAnswer<SharedTrashDirectory>;

/// Whether a missing Trash, or a missing folder of it, is created.
enum class MissingTrash { IsMade, StaysMissing };

/// Opens a folder in another one. If nothing is there, `missing` decides: the folder is created for its owner alone, or
/// there is no descriptor and errno is ENOENT. A link is followed unless `flags` contain O_NOFOLLOW.
posix::UniqueFd openOrMakeFolder(int parent, const std::string& name, int flags, MissingTrash missing);

/// Opens the user's Trash `name` of `parent` with its two folders. Links, and folders of other users, are refused.
OpenedTrash openTrashDirectory(int parent, const std::string& name, const TrashUser& user, const std::string& topFolder,
                               MissingTrash missing = MissingTrash::IsMade);

}  // namespace qm::linux_
