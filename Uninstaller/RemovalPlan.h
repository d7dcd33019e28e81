#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Uninstaller/ProductItems.h"

/// What a removal would do, item by item. Nothing here changes anything.

/// Whether preference files go as well.
enum class RemoveConfig : bool { No, Yes };

/// Why an item is left alone. The guards are tested in this order.
enum class SkipReason {
  None,               ///< it goes
  PreferencesStay,    ///< a preference file, and those are to stay
  NoFolder,           ///< the system has no such standard folder
  InReleaseFolder,    ///< it lies in a folder named "Release": a developer's build
  InStructureFolder,  ///< it lies below "/Structure/Applications/"
  InTrash,            ///< it is in the user's Trash already
  NotThere,           ///< nothing is there; a dangling link reads as nothing
};

/// What an item is. A link is a link, wherever it leads.
enum class ItemKind { File, Folder, Link, Other };

/// One item of the product, and what would become of it.
struct PlannedItem {
  const ProductItem* item = nullptr;
  std::optional<std::string> path;  ///< null where there is no such folder
  SkipReason skip = SkipReason::None;
  ItemKind kind = ItemKind::Other;  ///< of what is there
  std::uint64_t bytes = 0;          ///< of a file, or of all files in a folder, links not followed; 0 when skipped
};

/// Whether a removal of this kind takes the item at all.
bool isWanted(const ProductItem& item, RemoveConfig removeConfig);

/// Where an item is on this computer, for the user meant. Any thread.
std::optional<std::string> itemPath(const ProductItem& item);
/// Where the maker's folder is.
std::optional<std::string> makersFolderPath();

/// The guards of an item. Any thread; prints and logs nothing.
SkipReason reasonToSkip(const std::optional<std::string>& path);

/// One item and what would become of it, without its kind and size. Any thread.
PlannedItem plannedItem(const ProductItem& item, RemoveConfig removeConfig);

/// Finds out what an item that is there is, and its size. Takes as long as walking through it.
void measure(PlannedItem& item);

/// Every item in the order in which they go, with sizes. Any thread; takes as long as walking through all of them.
std::vector<PlannedItem> removalPlan(RemoveConfig removeConfig);
