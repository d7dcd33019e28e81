// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashesOfPath.h"

#include <algorithm>
#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/trash/DesktopTrash.h"

namespace qm::linux_ {
namespace {

using foundation::appendingPathComponent;
using foundation::deletingLastPathComponent;
using foundation::lastPathComponent;

/// A folder on the way to an item, and the rest of the path from there.
struct Way {
  TrashAnswer<SourceFolder> folder;
  std::string rest;
};

// The last folder that still exists.
Way wayTo(const std::string& path, const TrashUser& user) {
  std::string rest = lastPathComponent(path);
  std::string folder = deletingLastPathComponent(path);
  for (;;) {
    TrashAnswer<SourceFolder> opened = openSourceFolder(folder, user);
    if (opened || folder.size() <= 1) return {std::move(opened), rest};
    rest = appendingPathComponent(lastPathComponent(folder), rest);
    folder = deletingLastPathComponent(folder);
  }
}

void add(TrashesOfPath& found, OpenedTrash trash) {
  if (!trash) {
    if (trash.problem().code != ENOENT) found.problem = trash.problem();
    return;
  }
  const auto isSame = [&](const SharedTrashDirectory& other) {
    return other->filesIdentity.sameItem((*trash)->filesIdentity);
  };
  if (std::none_of(found.trashes.begin(), found.trashes.end(), isSame)) found.trashes.push_back(*trash);
}

}  // namespace

TrashesOfPath trashesOfPath(const std::string& path, const TrashUser& user, TrashFinder& finder) {
  Way way = wayTo(path, user);
  if (!way.folder) return {path, {}, way.folder.problem()};
  TrashesOfPath found{appendingPathComponent(way.folder->path, way.rest), {}, std::nullopt};
  // A link that leads to no Trash is ignored.
  if (OpenedTrash shown = openShownTrash(user, MissingTrash::StaysMissing)) add(found, *shown);
  FileSystemUser acting(user.forAnother ? &user.identity : nullptr);
  if (!acting.ok()) return {found.path, {}, itemProblem(EPERM)};
  OpenedTrash home = finder.homeTrash(user, MissingTrash::StaysMissing);
  const bool isHomeVolume = home && (*home)->filesIdentity.sameVolume(way.folder->identity);
  add(found, std::move(home));
  if (isHomeVolume) return found;
  for (OpenedTrash& trash : TrashFinder::volumeTrashes(*way.folder, user, acting)) {
    add(found, std::move(trash));
  }
  return found;
}

}  // namespace qm::linux_
