#include "Platform/linux/trash/ShownTrash.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/trash/TrashFinder.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;
using TrashOutcome = Outcome<SharedTrashDirectory>;

constexpr int kLookup = O_PATH | O_DIRECTORY | O_CLOEXEC;

// Links are followed, but none of those that lead into another process.
UniqueFd openLinked(const std::string& folder) {
  open_how how{};
  how.flags = kLookup;
  how.resolve = RESOLVE_NO_MAGICLINKS;
  return UniqueFd(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof how)));
}

bool isOwnFolder(int folder, const char* name, uid_t owner) {
  const std::optional<Place> place = placeOf(folder, name);
  return place && S_ISDIR(place->mode) && place->owner == owner;
}

// A volume that the person brought along says of owners what the person likes.
bool isOnVolumeOfHome(const Place& files, const TrashUser& person) {
  const std::optional<Place> home = placeOf(AT_FDCWD, (person.home + "/.").c_str());
  return home && home->device == files.device;
}

// `files` is the folder of that name of a whole Trash of the person's own.
bool isOfTrash(const Place& files, int trash, const TrashUser& person) {
  const uid_t owner = person.identity.uid;
  const std::optional<Place> own = placeOf(trash, "files");
  return own && own->sameItem(files) && isOwnFolder(trash, "files", owner) && isOwnFolder(trash, "info", owner) &&
         isOnVolumeOfHome(files, person);
}

// ~/.Trash stands for the folder "files" of a Trash, which is whole: nothing is made.
TrashOutcome openLinkedTrash(const TrashUser& person) {
  const std::string link = person.home + "/.Trash";
  const UniqueFd files = openLinked(link);
  if (!files) return trashFolderProblem(errno, link);
  const UniqueFd trash(::openat(files.get(), "..", kLookup));
  const UniqueFd above(trash ? ::openat(trash.get(), "..", kLookup) : -1);
  const std::optional<Place> linked = placeOf(files.get());
  if (!above || !linked) return trashFolderProblem(errno, link);
  if (!isOfTrash(*linked, trash.get(), person)) return trashFolderProblem(ENOTDIR, link);
  const std::string name = foundation::lastPathComponent(posix::shownPath(trash.get()));
  TrashOutcome opened = openTrashDirectory(above.get(), name, person.identity.uid, "", MissingTrash::StaysMissing);
  return opened && (*opened)->filesPlace.sameItem(*linked) ? opened : trashFolderProblem(ESTALE, name);
}

}  // namespace

TrashOutcome openShownTrash(const TrashUser& person, MissingTrash missing) {
  const FileSystemUser acting(person.forAnother ? &person.identity : nullptr);
  if (!acting.ok()) return itemProblem(EPERM);
  TrashOutcome linked = openLinkedTrash(person);
  return linked ? linked : TrashFinder().homeTrash(person, missing);
}

}  // namespace qm::linux_
