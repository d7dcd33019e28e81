// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "Uninstaller/RemovalObserver.h"
#include "Uninstaller/RemovalPlan.h"

/// The result for an item.
enum class ItemOutcome {
  Trashed,  ///< it is no longer at its path
  Gone,     ///< nothing was there
  Skipped,  ///< excluded by a guard or a choice: see `PlannedItem::skip`
  Stayed,   ///< it was to be removed and is still there
};

struct ItemResult {
  PlannedItem planned;
  ItemOutcome outcome = ItemOutcome::Skipped;
  std::string trashedTo;  ///< its path in the Trash after a move with the user's rights; else "", see `findInTrash`
  std::string reason;     ///< why it stayed, in full sentences; "" otherwise
  int error = 0;          ///< the error number of the move as the user, 0 if there is none
  bool notAuthorized = false;  ///< administrator rights were requested and not granted, see `stayedWithoutRights`
};

/// The result of the whole run.
struct RemovalReport {
  std::vector<ItemResult> items;  ///< all of them, in the order of the run
  bool makersFolderRemoved = false;
};

/// The items that were to be removed and are still there.
std::vector<ItemResult> stayedItems(const RemovalReport& report);

/// A move with administrator rights does not report where the item is in the Trash. This determines it. Searches the
/// Trash, unless the path is already known.
void findInTrash(ItemResult& result);

/// Whether items are measured before they are moved, which takes a walk through each.
enum class Measured : bool { No, Yes };

/// Moves the product to the Trash. Worker thread only: a call blocks while the system asks for a password.
class RemovalRun {
 public:
  /// Without an observer, the results do not say why items stayed or where they are in the Trash. The observer outlives
  /// the run, and its services are the installed ones.
  explicit RemovalRun(RemovalObserver* observer = nullptr, Measured measured = Measured::No)
      : observer_(observer), measured_(measured) {}

  /// Moves one item to the Trash unless a guard excludes it, and waits up to 10 seconds until it is gone from its path.
  ItemResult trash(PlannedItem item);
  /// Removes every wanted item, then the maker's folder if nothing but empty folders and housekeeping files is left in
  /// it. Does not stop at failures. When it returns, what was moved to the Trash with the user's rights is on the disk,
  /// and nothing holds administrator rights any more.
  RemovalReport removeProduct(RemoveConfig removeConfig);

 private:
  ItemResult stayed(ItemResult result) const;

  RemovalObserver* observer_;
  Measured measured_;
};
