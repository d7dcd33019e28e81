// SPDX-License-Identifier: MIT
#include "Uninstaller/helper/RemovalPolicy.h"

#include <algorithm>
#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/privileges/helper/FileCommand.h"
#include "Platform/linux/privileges/helper/FolderRemoval.h"
#include "Platform/linux/privileges/helper/TrashMove.h"
#include "Platform/linux/system/MacLayoutDirectories.h"
#include "Uninstaller/ProductItems.h"

using namespace qm::linux_;
using qm::foundation::appendingPathComponent;
using qm::platform::DomainMask;
using qm::platform::StandardDirectory;

namespace {

/// One user, for whom the standard folders are determined.
class OnePerson : public qm::platform::Users {
 public:
  explicit OnePerson(const UserRecord& person) : person_(person) {}

  unsigned realUserId() const override { return person_.id; }
  std::string userName() const override { return person_.name; }
  std::string homeDirectory() const override { return person_.home; }
  std::optional<std::string> homeDirectoryForUser(const std::optional<std::string>&) const override {
    return person_.home;
  }
  std::optional<std::string> consoleUser() const override { return person_.name; }

 private:
  const UserRecord& person_;
};

StandardDirectory directoryOf(ItemFolder folder) {
  switch (folder) {
    case ItemFolder::Applications:
      return StandardDirectory::Application;
    case ItemFolder::ApplicationSupport:
      return StandardDirectory::ApplicationSupport;
    case ItemFolder::Caches:
      return StandardDirectory::Caches;
    case ItemFolder::Preferences:
    case ItemFolder::Library:
      return StandardDirectory::Library;
  }
  return StandardDirectory::Library;
}

std::string folderPath(ItemFolder folder, ItemOwner owner, const UserRecord& person) {
  const OnePerson users(person);
  const DomainMask domain = owner == ItemOwner::User ? DomainMask::User : DomainMask::Local;
  const std::string path = MacLayoutDirectories(users).search(directoryOf(folder), domain).front();
  return folder == ItemFolder::Preferences ? appendingPathComponent(path, "Preferences") : path;
}

PreparedWork moveItem(const FileCommand& command, const UserRecord& person,
                      const qm::platform::ProductIdentity& product) {
  const auto move = trashMoveIn(command, person);
  if (!move) return Refusal{EPERM, command.operands[1] + ": that is not your Trash"};
  const std::vector<std::string> items = productItemPaths(person);
  if (std::ranges::find(items, move->item) == items.end()) {
    return Refusal{EPERM, move->item + ": that is no part of the product"};
  }
  return prepareTrashMove(*move, person, product);
}

PreparedWork removeFolder(const FileCommand& command, const UserRecord& person,
                          const qm::platform::ProductIdentity& product) {
  const bool isMakers = command.operands.size() == 1 && command.operands[0] == makersFolderPath(person);
  if (!isMakers) return Refusal{EPERM, command.operands[0] + ": that is not the maker's folder"};
  mendTrashMoves(person, product);
  return prepareFolderRemoval(command.operands[0]);
}

}  // namespace

std::vector<std::string> productItemPaths(const UserRecord& person) {
  std::vector<std::string> paths;
  for (const ProductItem& item : kProductItems) {
    paths.push_back(appendingPathComponent(folderPath(item.folder, item.owner, person), item.name));
  }
  return paths;
}

std::string makersFolderPath(const UserRecord& person) {
  return appendingPathComponent(folderPath(ItemFolder::Applications, ItemOwner::Computer, person), kMakersFolder);
}

PreparedWork RemovalPolicy::prepare(const Launch& launch, const UserRecord& person) const {
  const bool moves = launch.tool == "/bin/mv";
  if (!moves && launch.tool != "/bin/rm") {
    return Refusal{EPERM, launch.tool + ": only the product's items are moved to your Trash, nothing else is done"};
  }
  const auto command = parseFileCommand(moves ? "mv" : "rm", launch.arguments);
  if (!*command) return command->problem();
  return moves ? moveItem(**command, person, product()) : removeFolder(**command, person, product());
}
