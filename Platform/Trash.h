// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Status.h"

namespace qm::platform {

/// An item in the Trash, with what was recorded when it was moved there.
struct TrashedItem {
  std::string path;    ///< where it is now: absolute
  std::string origin;  ///< where it came from: absolute, without links on the way
  /// When it was moved there, in local time of that moment: "2024-02-29T23:05:07". "" if no valid time is recorded.
  std::string deletionDate;
};

/// What was found in the Trash.
struct TrashedItems {
  /// Newest first.
  std::vector<TrashedItem> items;
  /// Not a success if a Trash could not be read; `items` are then what was found elsewhere.
  Status status;
};

/// What happens if folders are missing on the way to an item's origin.
enum class MissingFolders : bool { Fail, AreMade };

/// The result of moving items to the Trash.
struct Recycled {
  Status status;
  /// The absolute paths, in the Trash, of the items that were moved, in the order of the argument `names`. "" for an
  /// item whose path is not known.
  std::vector<std::string> paths;
};

/// Moves items to the Trash, and back. Any thread.
class Trash {
 public:
  virtual ~Trash() = default;

  /// Moves the named items of a folder to the user's Trash. As root (real user id 0) that is the console user's.
  /// `trashDirectory` is that user's ~/.Trash; without it there is no user to trash for, and the operation fails. Names
  /// are single components. A link is moved, not followed. If a name is taken in the Trash, the item is renamed there;
  /// nothing is overwritten, deleted or copied across volumes. Stops at the first name that fails and returns why: that
  /// item is where it was, those before it are in the Trash.
  virtual Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                                const std::vector<std::string>& names) = 0;
  /// The same, without the paths in the Trash.
  Status recycle(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                 const std::vector<std::string>& names) {
    return recycleItems(sourceFolder, trashDirectory, names).status;
  }

  /// The items that came from the path `origin`. The search covers each Trash of the user that `recycle`, or a move
  /// with administrator rights, uses for that path. Links on the way to `origin` are followed, one at its end is not.
  /// Descriptions that break the rules of their format, and those of items that are no longer there, are left out. If
  /// root works for another user, interrupted moves are finished or undone first, so that no item is missing in the
  /// Trash. Otherwise nothing is changed.
  virtual TrashedItems itemsFrom(const std::string& origin, const std::optional<std::string>& trashDirectory) = 0;

  /// Moves an item from the user's Trash back to where it came from, and removes its description. Works with that
  /// user's rights. As root it uses root's rights if the user's do not suffice and nobody but root can redirect the
  /// path. The item keeps the owners that it has in the Trash. From an item that root puts back, set-user-id and
  /// set-group-id bits and file capabilities are removed. Across volumes the item is copied and then removed. Nothing
  /// is replaced: anything at the old path, even a dangling link, makes it fail. A failure leaves the item in the
  /// Trash, with its description, and leaves folders that were created for it.
  ///
  /// An uninstalled product's own folder was removed if it was empty. To put back a whole product, let missing folders
  /// be created. They belong to the user, or to root where creating them takes root's rights.
  virtual Status putBack(const TrashedItem& item, const std::optional<std::string>& trashDirectory,
                         MissingFolders missing) = 0;

  /// Flushes to the disk what `recycle` and `putBack` have done since the last call, and waits for it. Before that, a
  /// power cut can leave an item in the Trash whose origin is not recorded. Call it once for many items, since one wait
  /// takes as long as moving hundreds of items.
  virtual void makeDurable() = 0;
};

}  // namespace qm::platform
