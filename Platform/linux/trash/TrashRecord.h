// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

#include "Platform/linux/trash/Handover.h"

namespace qm::linux_ {

/// Identifies an item on a volume.
struct ItemNumber {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  bool operator==(const ItemNumber&) const = default;
};

/// The item of a descriptor, or of a name in a folder. Null if there is none.
std::optional<ItemNumber> itemNumber(int folder, const std::string& name = "");

/// What a move to the Trash, or back from it, is about to do. It is written before the move begins, so that a later run
/// can recognise what an interrupted process has left, and finish or undo it.
struct TrashRecord {
  std::string origin;  ///< the item's path
  ItemNumber item;
  ItemNumber copy;     ///< of the item, on the Trash's volume; zeros if the item itself is moved
  std::string stored;  ///< its name in the Trash
  std::string info;    ///< the text of its description
  /// The work folder beside the origin: for the item once its copy is in the Trash, or for the growing copy of an item
  /// that is put back.
  std::string aside;
  /// The volume of `aside`. While it is not mounted, nobody knows whether `aside` is still there. 0 without `aside`.
  std::uint64_t volume = 0;
  Reached reached = Reached::No;
  /// With a copy: the copy stays in the Trash, and the item has left its place. Without a copy: this is the record of
  /// putting an item back.
  bool isTaken = false;

  bool isCopy() const { return copy.inode != 0; }
  /// Whether the item is on its way out of the Trash.
  bool isLeaving() const { return isTaken && !isCopy(); }

  /// Sets `aside` to this name in `folder`. Returns 0 or an error number.
  int setAside(const std::string& name, int folder);
  /// Writes it into a work folder, replacing an earlier one. If it returns 0 the record is on the disk; otherwise it
  /// returns an error number.
  int writeTo(int folder) const;
  static bool isIn(int folder);
  /// Removes a partially written record of an interrupted process.
  static void removePartIn(int folder);
  /// The record in a work folder; null if there is none, or only a part of one.
  static std::optional<TrashRecord> readFrom(int folder);
};

/// The record of an item that is put back.
TrashRecord leavingRecord(const std::string& origin, const ItemNumber& item, const std::string& stored,
                          const std::string& info);

}  // namespace qm::linux_
