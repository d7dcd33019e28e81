#pragma once

#include <string>
#include <vector>

#include "Uninstaller/RemovalPlan.h"
#include "Uninstaller/RemovalWitness.h"

/// What has become of an item.
enum class ItemOutcome {
  Trashed,  ///< it is no longer at its place
  Gone,     ///< nothing was there
  Skipped,  ///< a guard or a choice spared it: see `PlannedItem::skip`
  Stayed,   ///< it was to go and is still there
};

struct ItemResult {
  PlannedItem planned;
  ItemOutcome outcome = ItemOutcome::Skipped;
  std::string trashedTo;       ///< where in the Trash a plain move has put it; "" otherwise, see `findInTrash`
  std::string reason;          ///< why it stayed, in whole sentences; "" otherwise
  int error = 0;               ///< the system's number for why its user could not move it, 0 where there is none
  bool notAuthorized = false;  ///< it stayed because administrator rights were not granted
};

/// What has become of everything.
struct RemovalReport {
  std::vector<ItemResult> items;  ///< all of them, in the order of the run
  bool makersFolderRemoved = false;
};

/// The items that were to go and are still there.
std::vector<ItemResult> stayedItems(const RemovalReport& report);

/// Finds out where in the Trash an item is that was moved with administrator rights: who does that says nothing. Takes
/// a look through the Trash; with a place that is known, none.
void findInTrash(ItemResult& result);

/// Whether items are measured before they are moved, which means a walk through each.
enum class Measured : bool { No, Yes };

/// Moves the product to the Trash. Worker thread only: a call blocks while the system asks for a password.
class RemovalRun {
 public:
  /// Without a witness, results lack reasons and places in the Trash. The witness outlives the run; its services are
  /// the installed ones.
  explicit RemovalRun(RemovalWitness* witness = nullptr, Measured measured = Measured::No)
      : witness_(witness), measured_(measured) {}

  /// Moves one item to the Trash if no guard spares it, and waits up to 10 seconds for it to be gone from its place.
  ItemResult trash(PlannedItem item);
  /// Every item that is wanted, then the maker's folder if nothing is left in it. Nothing stops it on the way. All of
  /// it is on the disk, and nothing holds administrator rights any more, when it returns.
  RemovalReport removeProduct(RemoveConfig removeConfig);

 private:
  ItemResult stayed(ItemResult result) const;

  RemovalWitness* witness_;
  Measured measured_;
};
