#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/linux/trash/Handover.h"

namespace qm::linux_ {

/// Which item of a volume is meant.
struct ItemNumber {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  bool operator==(const ItemNumber&) const = default;
};

/// The item of a descriptor, or of a name in a folder. Null when there is none.
std::optional<ItemNumber> itemNumber(int folder, const std::string& name = "");

/// What a move to the Trash is about to do, written before it is done, so that a later run can tell what a process
/// that was ended has left, and finish or undo it.
struct TrashRecord {
  std::string origin;  ///< the item's path
  ItemNumber item;
  ItemNumber copy;     ///< of the item, on the Trash's volume; zeros when the item itself is moved
  std::string stored;  ///< its name in the Trash
  std::string info;    ///< the text that describes it there
  std::string aside;   ///< the work folder beside the origin that the item goes to once its copy is in the Trash
  Reached reached = Reached::No;
  bool isTaken = false;  ///< its copy is in the Trash for good, and the item has left its place

  bool isCopy() const { return copy.inode != 0; }
  /// The item is on its way out of the Trash.
  bool isLeaving() const { return isTaken && !isCopy(); }

  /// Writes it into a work folder, in place of an earlier one. On the disk when it returns 0; else an error number.
  int writeTo(int folder) const;
  static bool isIn(int folder);
  /// Removes what a process that was ended had written of one.
  static void removePartIn(int folder);
  /// The record in a work folder; null when there is none, or only a part of one.
  static std::optional<TrashRecord> readFrom(int folder);
};

/// The record of an item that is put back.
TrashRecord leavingRecord(const std::string& origin, const ItemNumber& item, const std::string& stored,
                          const std::string& info);

}  // namespace qm::linux_
