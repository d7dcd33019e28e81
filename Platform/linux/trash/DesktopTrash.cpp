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

constexpr int kLookup = O_PATH | O_DIRECTORY | O_CLOEXEC;

// Links are followed, except those that lead into another process (magic links).
UniqueFd openLinked(const std::string& folder) { return openFolderByRules(folder, RESOLVE_NO_MAGICLINKS); }

bool isOwnFolder(int folder, const char* name, uid_t owner) {
  const std::optional<ItemIdentity> identity = itemIdentity(folder, name);
  return identity && S_ISDIR(identity->mode) && identity->owner == owner;
}

// A volume that the user plugged in may claim any owners.
bool isOnVolumeOfHome(const ItemIdentity& files, const TrashUser& person) {
  const std::optional<ItemIdentity> home = itemIdentity(AT_FDCWD, (person.home + "/.").c_str());
  return home && home->device == files.device;
}

// Whether `files` is the folder of that name in a whole Trash of the user's own.
bool isOfTrash(const ItemIdentity& files, int trash, const TrashUser& person) {
  const uid_t owner = person.identity.uid;
  const std::optional<ItemIdentity> own = itemIdentity(trash, "files");
  return own && own->sameItem(files) && isOwnFolder(trash, "files", owner) && isOwnFolder(trash, "info", owner) &&
         isOnVolumeOfHome(files, person);
}

}  // namespace

// ~/.Trash stands for the folder "files" of a Trash. That Trash must be complete: nothing is created.
OpenedTrash openLinkedTrash(const TrashUser& person) {
  const std::string link = person.home + "/.Trash";
  const UniqueFd files = openLinked(link);
  if (!files) return trashFolderProblem(errno, link);
  const UniqueFd trash(::openat(files.get(), "..", kLookup));
  const UniqueFd above(trash ? ::openat(trash.get(), "..", kLookup) : -1);
  const std::optional<ItemIdentity> linked = itemIdentity(files.get());
  if (!above || !linked) return trashFolderProblem(errno, link);
  if (!isOfTrash(*linked, trash.get(), person)) return trashFolderProblem(ENOTDIR, link);
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
