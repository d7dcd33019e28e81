// SPDX-License-Identifier: MIT
#include "Uninstaller/RemovalPlan.h"

#include "Platform/FileSystem.h"
#include "Platform/Platform.h"
#include "Platform/foundation/PathComponents.h"
#include "Shared/QMLocalPaths.h"

using qm::foundation::appendingPathComponent;
using qm::platform::DirectoryEntry;
using qm::platform::EntrySizes;
using qm::platform::FileType;
using qm::platform::platform;

namespace {

std::optional<std::string> folderPath(ItemFolder folder, ItemOwner owner) {
  const QMLocalPaths::UserDomain domain =
      owner == ItemOwner::User ? QMLocalPaths::UserDomain::Yes : QMLocalPaths::UserDomain::No;
  switch (folder) {
    case ItemFolder::Applications:
      return QMLocalPaths::applicationDirectory(domain);
    case ItemFolder::ApplicationSupport:
      return QMLocalPaths::appSupportDirectory(domain);
    case ItemFolder::Caches:
      return QMLocalPaths::cacheDirectory(domain);
    case ItemFolder::Preferences:
      return QMLocalPaths::prefsDirectory(domain);
    case ItemFolder::Library:
      return QMLocalPaths::libraryDirectory(domain);
  }
  return std::nullopt;
}

bool isInReleaseFolder(const std::string& path) {
  return qm::foundation::lastPathComponent(qm::foundation::deletingLastPathComponent(path)) == "Release";
}

bool isInTrash(const std::string& path) {
  const auto trash = QMLocalPaths::trashDirectory();
  return trash && path.starts_with(*trash);
}

ItemKind kindOf(FileType type) {
  switch (type) {
    case FileType::Regular:
      return ItemKind::File;
    case FileType::Directory:
      return ItemKind::Folder;
    case FileType::SymbolicLink:
      return ItemKind::Link;
    case FileType::Other:
      break;
  }
  return ItemKind::Other;
}

/// Links are not followed: their targets are not part of the item. Subfolders are walked after the folder has been read
/// to its end, so that only one is open at a time.
std::uint64_t bytesBelow(const std::string& folder) {
  std::uint64_t sum = 0;
  std::vector<std::string> folders;
  platform().fileSystem->visitDirectory(folder, EntrySizes::Yes, [&](const DirectoryEntry& entry) {
    if (entry.type == FileType::Directory) folders.emplace_back(entry.name);
    if (entry.type == FileType::Regular) sum += entry.size;
  });
  for (const std::string& name : folders) sum += bytesBelow(appendingPathComponent(folder, name));
  return sum;
}

}  // namespace

bool isWanted(const ProductItem& item, RemoveConfig removeConfig) {
  return item.condition == ItemCondition::Always || removeConfig == RemoveConfig::Yes;
}

std::optional<std::string> itemPath(const ProductItem& item) {
  return appendingPathComponent(folderPath(item.folder, item.owner), item.name);
}

std::optional<std::string> makersFolderPath() {
  return appendingPathComponent(folderPath(ItemFolder::Applications, ItemOwner::Computer), kMakersFolder);
}

SkipReason reasonToSkip(const std::optional<std::string>& path) {
  if (!path) return SkipReason::NoFolder;
  if (isInReleaseFolder(*path)) return SkipReason::InReleaseFolder;
  if (path->find("/Structure/Applications/") != std::string::npos) return SkipReason::InStructureFolder;
  if (isInTrash(*path)) return SkipReason::InTrash;
  return platform().fileSystem->fileExists(*path) ? SkipReason::None : SkipReason::NotThere;
}

PlannedItem plannedItem(const ProductItem& item, RemoveConfig removeConfig) {
  PlannedItem plan;
  plan.item = &item;
  plan.path = itemPath(item);
  plan.skip = isWanted(item, removeConfig) ? reasonToSkip(plan.path) : SkipReason::PreferencesStay;
  return plan;
}

std::vector<PlannedItem> removalPlan(RemoveConfig removeConfig) {
  std::vector<PlannedItem> plan;
  for (const ProductItem& item : kProductItems) {
    plan.push_back(plannedItem(item, removeConfig));
    if (plan.back().skip == SkipReason::None) measure(plan.back());
  }
  return plan;
}

void measure(PlannedItem& item) {
  const auto attributes = platform().fileSystem->attributesOfItem(*item.path);
  if (!attributes) return;
  item.kind = kindOf(attributes->type);
  if (item.kind == ItemKind::File) item.bytes = attributes->size;
  if (item.kind == ItemKind::Folder) item.bytes = bytesBelow(*item.path);
}
