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

/// A Trash that has been looked at and found to be its owner's, held by descriptors. Nothing in it
/// changes, so any number of threads may use it.
struct TrashDirectory {
  posix::UniqueFd folder;
  posix::UniqueFd files;
  posix::UniqueFd info;
  ItemIdentity folderIdentity;
  ItemIdentity filesIdentity;
  ItemIdentity infoIdentity;
  /// Absolute and without links.
  std::string path;
  /// What the paths in its ".trashinfo" files are relative to; "" where they are absolute.
  std::string topFolder;
  /// The longest file name, in bytes.
  std::size_t nameLimit = 0;
  /// What the names of root's work folders begin with (see `WorkFolder`).
  std::string workFolderPrefix;
};

using SharedTrashDirectory = std::shared_ptr<const TrashDirectory>;
/// A Trash, or why there is none to be used.
using OpenedTrash = TrashAnswer<SharedTrashDirectory>;

/// Whether a Trash, or a folder of it, is made where there is none.
enum class MissingTrash { IsMade, StaysMissing };

/// Opens a folder in another one. When nothing is there, it is made for its owner alone, or ENOENT. A link is followed
/// unless `flags` say O_NOFOLLOW.
posix::UniqueFd openOrMakeFolder(int parent, const std::string& name, int flags, MissingTrash missing);

/// Opens the user's Trash `name` of `parent` with its two folders. Links, and folders of somebody else, are refused.
OpenedTrash openTrashDirectory(int parent, const std::string& name, const TrashUser& user, const std::string& topFolder,
                               MissingTrash missing = MissingTrash::IsMade);

}  // namespace qm::linux_
