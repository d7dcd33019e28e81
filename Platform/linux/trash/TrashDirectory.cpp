// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include "Platform/linux/files/DescriptorPath.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr mode_t kForOwnerAlone = S_IRWXU;

// Not every file system says it.
std::size_t longestName(int folder) {
  struct statvfs found {};
  const bool isSaid = ::fstatvfs(folder, &found) == 0 && found.f_namemax != 0;
  return isSaid ? std::min<std::size_t>(found.f_namemax, NAME_MAX) : NAME_MAX;
}

std::string shownIn(int parent, const std::string& name) {
  const std::string path = posix::shownPath(parent);
  return (path == "/" ? "" : path) + "/" + name;
}

struct OwnFolder {
  UniqueFd fd;
  ItemIdentity identity;
};

// A link, or a folder of another user, is refused. `shown` is its name in the problem.
TrashAnswer<OwnFolder> openOwnFolder(int parent, const std::string& name, uid_t owner, const std::string& shown,
                                     MissingTrash missing) {
  UniqueFd fd = openOrMakeFolder(parent, name, O_NOFOLLOW, missing);
  if (!fd) return trashFolderProblem(errno, shown);
  const std::optional<ItemIdentity> identity = itemIdentity(fd.get());
  if (!identity) return trashFolderProblem(errno, shown);
  if (identity->owner != owner) return trashFolderProblem(EPERM, shown);
  return OwnFolder{std::move(fd), *identity};
}

}  // namespace

UniqueFd openOrMakeFolder(int parent, const std::string& name, int flags, MissingTrash missing) {
  const auto open = [&] { return UniqueFd(::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC | flags)); };
  UniqueFd fd = open();
  if (fd || errno != ENOENT || missing == MissingTrash::StaysMissing) return fd;
  // Somebody else may create it at the same moment, so opening it again decides.
  if (::mkdirat(parent, name.c_str(), kForOwnerAlone) != 0 && errno != EEXIST) return UniqueFd();
  return open();
}

OpenedTrash openTrashDirectory(int parent, const std::string& name, const TrashUser& user, const std::string& topFolder,
                               MissingTrash missing) {
  const uid_t owner = user.identity.uid;
  const std::string shown = shownIn(parent, name);
  TrashAnswer<OwnFolder> trash = openOwnFolder(parent, name, owner, shown, missing);
  if (!trash) return trash.problem();
  TrashAnswer<OwnFolder> files = openOwnFolder(trash->fd.get(), "files", owner, shown + "/files", missing);
  if (!files) return files.problem();
  TrashAnswer<OwnFolder> info = openOwnFolder(trash->fd.get(), "info", owner, shown + "/info", missing);
  if (!info) return info.problem();
  std::string path = posix::shownPath(trash->fd.get());
  if (path.empty()) return trashFolderProblem(EIO, shown);
  const std::size_t nameLimit = longestName(info->fd.get());
  return SharedTrashDirectory(std::make_shared<const TrashDirectory>(
      TrashDirectory{std::move(trash->fd), std::move(files->fd), std::move(info->fd), trash->identity, files->identity,
                     info->identity, std::move(path), topFolder, nameLimit, user.workFolderPrefix}));
}

}  // namespace qm::linux_
