// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/ProductItems.h"

/// What a removal would do, item by item. Nothing here changes anything.

/// Whether preference files are removed as well.
enum class RemoveConfig : bool { No, Yes };

/// Why an item is left alone. The guards are applied in this order.
enum class SkipReason {
  None,               ///< it is removed
  PreferencesStay,    ///< a preference file, which is to stay
  NoFolder,           ///< the system has no such standard folder
  InReleaseFolder,    ///< it is in a folder named "Release": a developer's build
  InStructureFolder,  ///< it is below "/Structure/Applications/"
  InTrash,            ///< it is already in the user's Trash
  NotThere,           ///< nothing is there; a dangling link reads as nothing
};

/// The type of an item. A link is a link, whatever its target.
enum class ItemKind { File, Folder, Link, Other };

/// One item of the product, and what would happen to it.
struct PlannedItem {
  const ProductItem* item = nullptr;
  std::optional<std::string> path;  ///< null if there is no such folder
  SkipReason skip = SkipReason::None;
  ItemKind kind = ItemKind::Other;  ///< of the existing item
  std::uint64_t bytes = 0;          ///< of a file, or of all files in a folder, links not followed; 0 until measured
};

/// Whether a removal of this kind includes the item at all.
bool isWanted(const ProductItem& item, RemoveConfig removeConfig);

/// Where an item is on this computer, for the current user; as root, for the user at the console. Any thread.
std::optional<std::string> itemPath(const ProductItem& item);
/// Where the maker's folder is.
std::optional<std::string> makersFolderPath();

/// Applies the guards to an item. Any thread; prints and logs nothing.
SkipReason reasonToSkip(const std::optional<std::string>& path);

/// One item and what would happen to it, without its kind and size. Any thread.
PlannedItem plannedItem(const ProductItem& item, RemoveConfig removeConfig);

/// Determines the kind and the size of an existing item. Takes as long as walking through it.
void measure(PlannedItem& item);

/// Every item in the order of removal, with sizes. Any thread; takes as long as walking through all of them.
std::vector<PlannedItem> removalPlan(RemoveConfig removeConfig);
