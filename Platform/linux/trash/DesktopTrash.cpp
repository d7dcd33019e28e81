// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/DesktopTrash.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/rights/RuledOpening.h"
#include "Platform/linux/trash/TrashFinder.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

UniqueFd openAbove(int folder) { return UniqueFd(::openat(folder, "..", O_PATH | O_CLOEXEC)); }

// Links are followed, except those that lead into another process (magic links).
UniqueFd openLinked(const std::string& folder) { return openFolderByRules(folder, RESOLVE_NO_MAGICLINKS); }

// A volume that the user plugged in may claim any owners.
bool isOnVolumeOfHome(const ItemIdentity& files, const TrashUser& person) {
  const std::optional<ItemIdentity> home = itemIdentity(AT_FDCWD, (person.home + "/.").c_str());
  return home && home->device == files.device;
}

}  // namespace

// ~/.Trash stands for the folder "files" of a Trash of the user's own. That Trash must be complete: nothing is created.
OpenedTrash openLinkedTrash(const TrashUser& person) {
  const std::string link = person.home + "/.Trash";
  const UniqueFd files = openLinked(link);
  const std::optional<ItemIdentity> linked = files ? itemIdentity(files.get()) : std::nullopt;
  if (!linked) return trashFolderProblem(errno, link);
  if (!isOnVolumeOfHome(*linked, person)) return trashFolderProblem(ENOTDIR, link);
  const UniqueFd trash = openAbove(files.get());
  const UniqueFd above = openAbove(trash.get());
  if (!above) return trashFolderProblem(errno, link);
  const std::string name = foundation::lastPathComponent(posix::shownPath(trash.get()));
  OpenedTrash opened = openTrashDirectory(above.get(), name, person, "", MissingTrash::StaysMissing);
  return opened && (*opened)->filesIdentity.sameItem(*linked) ? opened : trashFolderProblem(ESTALE, name);
}

OpenedTrash openShownTrash(const TrashUser& person, MissingTrash missing) {
  const FileSystemUser acting(person.forAnother ? &person.identity : nullptr);
  if (!acting.ok()) return itemProblem(EPERM);
  OpenedTrash linked = openLinkedTrash(person);
  return linked ? linked : TrashFinder().homeTrash(person, missing);
}

}  // namespace qm::linux_
