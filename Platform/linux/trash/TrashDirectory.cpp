#include "Platform/linux/trash/TrashDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "Platform/linux/files/DescriptorPath.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr mode_t kForOwnerAlone = S_IRWXU;

std::size_t longestName(int folder) {
  struct statvfs found {};
  if (::fstatvfs(folder, &found) != 0 || found.f_namemax == 0) return NAME_MAX;
  return std::min<std::size_t>(found.f_namemax, NAME_MAX);
}

std::string shownIn(int parent, const std::string& name) {
  const std::string path = posix::shownPath(parent);
  return (path == "/" ? "" : path) + "/" + name;
}

// A link, or a folder of somebody else, is refused. `shown` names it in the problem.
Outcome<UniqueFd> openOwnFolder(int parent, const std::string& name, uid_t owner, const std::string& shown,
                                MissingTrash missing) {
  UniqueFd fd = openOrMakeFolder(parent, name, O_NOFOLLOW, missing);
  if (!fd) return trashFolderProblem(errno, shown);
  const std::optional<Place> place = placeOf(fd.get());
  if (!place) return trashFolderProblem(errno, shown);
  if (place->owner != owner) return trashFolderProblem(EPERM, shown);
  return fd;
}

}  // namespace

UniqueFd openOrMakeFolder(int parent, const std::string& name, int flags, MissingTrash missing) {
  const auto open = [&] { return UniqueFd(::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC | flags)); };
  UniqueFd fd = open();
  if (fd || errno != ENOENT || missing == MissingTrash::StaysMissing) return fd;
  // Somebody else may make it at the same moment; the second look decides.
  if (::mkdirat(parent, name.c_str(), kForOwnerAlone) != 0 && errno != EEXIST) return UniqueFd();
  return open();
}

Outcome<SharedTrashDirectory> openTrashDirectory(int parent, const std::string& name, uid_t owner,
                                                 const std::string& topFolder, MissingTrash missing) {
  const std::string shown = shownIn(parent, name);
  Outcome<UniqueFd> trash = openOwnFolder(parent, name, owner, shown, missing);
  if (!trash) return trash.problem();
  Outcome<UniqueFd> files = openOwnFolder(trash->get(), "files", owner, shown + "/files", missing);
  if (!files) return files.problem();
  Outcome<UniqueFd> info = openOwnFolder(trash->get(), "info", owner, shown + "/info", missing);
  if (!info) return info.problem();
  const auto folderPlace = placeOf(trash->get());
  const auto filesPlace = placeOf(files->get());
  const auto infoPlace = placeOf(info->get());
  if (!folderPlace || !filesPlace || !infoPlace) return trashFolderProblem(errno, shown);
  TrashDirectory result{
      std::move(*trash), std::move(*files), std::move(*info), *folderPlace, *filesPlace, *infoPlace, "", topFolder, 0};
  result.path = posix::shownPath(result.folder.get());
  if (result.path.empty()) return trashFolderProblem(EIO, shown);
  result.nameLimit = longestName(result.info.get());
  return SharedTrashDirectory(std::make_shared<const TrashDirectory>(std::move(result)));
}

}  // namespace qm::linux_
