#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/Status.h"

namespace qm::platform {

/// An item in the Trash, with what was noted when it came there.
struct TrashedItem {
  std::string path;    ///< where it is: absolute
  std::string origin;  ///< where it came from: absolute, without links on the way
  /// When it came there, in the local time of then: "2024-02-29T23:05:07". "" where nothing that means a time is noted.
  std::string deletionDate;
};

/// What was found in the Trash.
struct TrashedItems {
  /// Newest first.
  std::vector<TrashedItem> items;
  /// Not a success when something could not be looked at; `items` are then what was found elsewhere.
  Status status;
};

/// What becomes of folders that are missing on the way to where an item came from.
enum class MissingFolders : bool { AreAReason, AreMade };

/// What has become of items on their way to the Trash.
struct Recycled {
  Status status;
  /// Where in the Trash those are that went, in the order of their names: absolute. "" where that is not known.
  std::vector<std::string> paths;
};

/// Moving to the Trash, and back. Any thread.
class Trash {
 public:
  virtual ~Trash() = default;

  /// Moves the named items of a folder to the Trash of the user meant, who is the console user
  /// when the real user id is 0. `trashDirectory` is that user's ~/.Trash; without it there is no
  /// user to trash for, and the operation fails. Names are single components. A link is moved, not
  /// followed. Clashes in the Trash are settled by renaming there; nothing is overwritten, deleted
  /// or copied across volumes. Stops at the first name that fails and returns why: that item is
  /// where it was, those before it are in the Trash.
  virtual Recycled recycleItems(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                                const std::vector<std::string>& names) = 0;
  /// The same for whoever need not know where they are.
  Status recycle(const std::string& sourceFolder, const std::optional<std::string>& trashDirectory,
                 const std::vector<std::string>& names) {
    return recycleItems(sourceFolder, trashDirectory, names).status;
  }

  /// The items in the Trash of the user meant that came from the path `origin`, in every Trash where `recycle`, or a
  /// move with administrator rights, puts what is there. Links on the way to `origin` are followed, one at its end is
  /// not. What is noted in a way that breaks the rules, or of an item that is not there any more, is left out. Nothing
  /// is made. What was left by a move that was ended in the middle is finished first, with administrator rights.
  virtual TrashedItems itemsFrom(const std::string& origin, const std::optional<std::string>& trashDirectory) = 0;

  /// Moves an item from the Trash of the user meant back to where it came from, with what was noted of it. Works with
  /// that user's rights; as root with root's rights where nobody but root can lead the way elsewhere and the user's do
  /// not suffice. Owners stay what they are in the Trash; what root puts back lends nobody's rights. Across volumes it
  /// is copied and then removed. Nothing is replaced: anything at the old place, a dangling link included, makes it
  /// fail. A failure leaves the item in the Trash, with what was noted, and folders that were made for it.
  ///
  /// An uninstalled product's own folder is gone when it was left empty: who puts back a whole product lets missing
  /// folders be made. They belong to the user, or to root where root's rights are needed to make them.
  virtual Status putBack(const TrashedItem& item, const std::optional<std::string>& trashDirectory,
                         MissingFolders missing) = 0;

  /// Writes to the disk what `recycle` and `putBack` have done since the last call, and waits for it: before, a power
  /// cut can leave an item in the Trash that does not know where it came from. Once for many items, since each wait
  /// takes as long as hundreds of items.
  virtual void makeDurable() = 0;
};

}  // namespace qm::platform
