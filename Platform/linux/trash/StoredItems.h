// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashProblem.h"

namespace qm::linux_ {

/// An item in a Trash, with its description.
struct StoredItem {
  std::string name;          ///< its name in "files"
  std::string origin;        ///< its origin: absolute
  std::string deletionDate;  ///< "" if the description has none
  std::string info;          ///< the whole text of the description
};

/// The description of the item `name`. Null if there is no such item, or no valid description. Whoever may write in the
/// Trash decides what it says, so the origin is only a claim. The calling thread works with the rights of the Trash's
/// owner.
std::optional<StoredItem> storedItem(const TrashDirectory& trash, const std::string& name);

/// The items that came from a path, newest first.
TrashAnswer<std::vector<StoredItem>> storedItemsFrom(const TrashDirectory& trash, const std::string& origin);

/// Removes the description of an item that is no longer in the Trash, if it is unchanged.
void forget(const TrashDirectory& trash, const StoredItem& item);

/// The path of an item of a Trash.
std::string pathOf(const TrashDirectory& trash, const StoredItem& item);

}  // namespace qm::linux_
