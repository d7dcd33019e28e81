// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

/// The items of the product. The run and the program with administrator rights use the same table, and neither touches
/// anything else except the maker's folder.

/// The standard folders that contain items.
enum class ItemFolder { Applications, ApplicationSupport, Caches, Preferences, Library };
/// Whether an item is the user's own or the computer's.
enum class ItemOwner { User, Computer };
/// When an item is removed.
enum class ItemCondition { Always, RemoveConfig };

/// One item: a standard folder, a name in it, and when it is removed.
struct ProductItem {
  ItemFolder folder;
  ItemOwner owner;
  std::string_view name;
  ItemCondition condition;
};

/// In the order in which they are removed. The preferences' two names differ only in case: on a volume that ignores
/// case, the second finds nothing.
inline constexpr ProductItem kProductItems[] = {
    {ItemFolder::Applications, ItemOwner::Computer, "Quillmark/Tessaly.app", ItemCondition::Always},
    {ItemFolder::Applications, ItemOwner::Computer, "Tessaly.app", ItemCondition::Always},
    {ItemFolder::ApplicationSupport, ItemOwner::User, "Quillmark/Tessaly/Caches", ItemCondition::Always},
    {ItemFolder::Caches, ItemOwner::User, "com.quillmark.tessaly", ItemCondition::Always},
    {ItemFolder::Preferences, ItemOwner::User, "com.quillmark.Tessaly.plist", ItemCondition::RemoveConfig},
    {ItemFolder::Preferences, ItemOwner::User, "com.quillmark.tessaly.plist", ItemCondition::RemoveConfig},
    {ItemFolder::Preferences, ItemOwner::Computer, "com.quillmark.Tessaly.plist", ItemCondition::RemoveConfig},
    {ItemFolder::Preferences, ItemOwner::Computer, "com.quillmark.tessaly.plist", ItemCondition::RemoveConfig},
    {ItemFolder::Library, ItemOwner::User, "LaunchAgents/com.quillmark.Tessaly.plist", ItemCondition::Always},
    {ItemFolder::Library, ItemOwner::User, "LaunchAgents/com.quillmark.TessalyProjectWatcher.plist",
     ItemCondition::Always},
    {ItemFolder::Library, ItemOwner::User, "LaunchAgents/com.quillmark.Tessaly.autosave.plist", ItemCondition::Always},
    {ItemFolder::Library, ItemOwner::User, "LaunchAgents/com.quillmark.OrvendelProjectWatcher.plist",
     ItemCondition::Always},
};

/// The maker's folder in the computer's applications. It is removed if nothing but empty folders and housekeeping files
/// is left in it.
inline constexpr std::string_view kMakersFolder = "Quillmark";
