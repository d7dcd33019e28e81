// SPDX-License-Identifier: MIT
#include "tests/contract/trash/FakeTrashWorld.h"

#include <algorithm>

namespace qm::testing {

void FakeTrashWorld::play(const std::function<void(FakeTrashWorld&)>& body) {
  FakeTrashWorld world;
  for (const char* folder : {"/etc", "/root", "/tmp", "/volumes", kHome}) world.makeFolder(folder);
  world.makeFile("/etc/passwd", "");
  body(world);
}

void FakeTrashWorld::actAsRoot(const std::optional<std::string>& consoleUser) {
  users_.actAsRoot(consoleUser);
  disk_.setSuperuser(true);
}

ItemKind FakeTrashWorld::kindOf(const std::string& path) {
  if (!disk_.has(path)) return ItemKind::Nothing;
  if (disk_.linkTarget(path)) return ItemKind::Link;
  return disk_.fileContents(path) ? ItemKind::File : ItemKind::Folder;
}

std::string FakeTrashWorld::contentsOf(const std::string& path) {
  if (const auto target = disk_.linkTarget(path)) return *target;
  return disk_.fileContents(path).value_or("");
}

std::vector<std::string> FakeTrashWorld::namesIn(const std::string& folder) {
  std::vector<std::string> names = disk_.list(folder, Access::Administrator).value_or(std::vector<std::string>());
  std::sort(names.begin(), names.end());
  return names;
}

platform::Status FakeTrashWorld::recycle(const std::string& folder, const std::optional<std::string>& trashDirectory,
                                         const std::vector<std::string>& names) {
  platform::Recycled recycled = trash_.recycleItems(folder, trashDirectory, names);
  recycledTo = recycled.paths;
  return recycled.status;
}

platform::TrashedItems FakeTrashWorld::itemsFrom(const std::string& origin,
                                                 const std::optional<std::string>& trashDirectory) {
  return trash_.itemsFrom(origin, trashDirectory);
}

platform::Status FakeTrashWorld::putBack(const platform::TrashedItem& item,
                                         const std::optional<std::string>& trashDirectory,
                                         platform::MissingFolders missing) {
  return trash_.putBack(item, trashDirectory, missing);
}

}  // namespace qm::testing
