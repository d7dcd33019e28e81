// SPDX-License-Identifier: MIT
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

/// Moves an item with root's rights from a user's Trash to a folder, if nobody but root can redirect the path to that
/// folder.
///
/// Only files and folders are put back this way: a link of the user's in a root-owned folder would be trusted as
/// root's. The user can replace the item at every moment. So it is checked, then moved into a folder in the Trash that
/// only root can access, and compared there with the checked one by identity. Then it is renamed to its destination
/// without replacing anything. Owners stay; bits and capabilities that lend rights are dropped before and after that.
/// Across volumes a copy is made where nobody else can reach it, checked, flushed to the disk and published before the
/// item is removed. A process that ends in the middle leaves the item whole: at its destination, in the Trash, or in
/// that folder of the Trash with a record, from which it is put into the Trash again (see `TrashMending.h`).
class RootPutBack {
 public:
  /// All arguments must outlive it.
  RootPutBack(const TrashDirectory& trash, const StoredItem& stored, const PutBackPlace& place, const TrashUser& user,
              MountedVolumes& volumes);

  /// The calling thread has root's rights. The description is removed with the item.
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
  void giveBack(const WorkFolder& work);
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
