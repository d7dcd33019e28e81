#pragma once

#include <optional>

#include "Platform/linux/files/MountTable.h"
#include "Platform/linux/trash/PutBackPlace.h"
#include "Platform/linux/trash/StoredItems.h"
#include "Platform/linux/trash/TrashProblem.h"
#include "Platform/linux/trash/TrashRecord.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/linux/trash/WorkFolder.h"

namespace qm::linux_ {

/// Moves an item from a person's Trash to a place that root alone may change, with root's rights.
///
/// Only files and folders go back this way: a link of the person's in a folder of root's would be taken for root's. The
/// person can put something else in the item's place at every moment, so it is first taken into a folder of root's
/// alone in the Trash, looked at there, and then renamed to its place without replacing anything. Owners stay; what
/// lends rights is dropped. Across volumes a copy is made where nobody reaches it, looked at, flushed to the disk and
/// put in its place before the item goes. A process that ends in the middle leaves the item whole: at its place, in the
/// Trash, or in that folder of the Trash with a record, from where it is put into the Trash again (see
/// `TrashMending.h`).
class RootPutBack {
 public:
  /// Everything outlives it.
  RootPutBack(const TrashDirectory& trash, const StoredItem& stored, const PutBackPlace& place, const TrashUser& user,
              MountedVolumes& volumes);

  /// The calling thread has root's rights. The description goes with the item.
  std::optional<TrashProblem> run();

 private:
  posix::FileError moveItself(const WorkFolder& work);
  posix::FileError moveCopy(const WorkFolder& work);
  posix::FileError copyTo(int folder) const;
  posix::FileError exchange(const WorkFolder& work, int folder);
  posix::FileError checkCopy(int folder, ItemNumber& number) const;
  posix::FileError removeTaken(const WorkFolder& work);
  int take(const WorkFolder& work);
  void forget(const WorkFolder& work);
  int giveBack(const WorkFolder& work);
  bool isOnVolumeOfPlace() const;

  const TrashDirectory& trash_;
  const StoredItem& stored_;
  const PutBackPlace& place_;
  const TrashUser& user_;
  MountedVolumes& volumes_;
  posix::UniqueFd item_;
  TrashRecord record_;
  bool isUnfinished_ = false;
  bool isCopyKept_ = false;
};

}  // namespace qm::linux_
