#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashProblem.h"

namespace qm::linux_ {

/// An item in a Trash, with the description that it came with.
struct StoredItem {
  std::string name;          ///< in "files"
  std::string origin;        ///< where it came from: absolute
  std::string deletionDate;  ///< "" where the description says none
  std::string info;          ///< all that the description says
};

/// What the description of the item `name` says. Null when there is no such item, or no description that keeps the
/// rules. Whoever may write in the Trash decides what it says: the origin is where the item wants to go, no more.
/// The calling thread works with the rights of the Trash's owner.
std::optional<StoredItem> storedItem(const TrashDirectory& trash, const std::string& name);

/// The items that came from a path, newest first.
TrashAnswer<std::vector<StoredItem>> storedItemsFrom(const TrashDirectory& trash, const std::string& origin);

/// Removes the description of an item that is not in the Trash any more, if it is still the same.
void forget(const TrashDirectory& trash, const StoredItem& item);

/// The path of an item of a Trash.
std::string pathOf(const TrashDirectory& trash, const StoredItem& item);

}  // namespace qm::linux_
