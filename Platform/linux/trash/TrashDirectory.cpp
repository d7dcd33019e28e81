// SPDX-License-Identifier: MIT
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

// A link, or a folder of another user, is refused. `shown` is its name in the problem.
TrashAnswer<UniqueFd> openOwnFolder(int parent, const std::string& name, uid_t owner, const std::string& shown,
                                    MissingTrash missing) {
  UniqueFd fd = openOrMakeFolder(parent, name, O_NOFOLLOW, missing);
  if (!fd) return trashFolderProblem(errno, shown);
  const std::optional<ItemIdentity> identity = itemIdentity(fd.get());
  if (!identity) return trashFolderProblem(errno, shown);
  if (identity->owner != owner) return trashFolderProblem(EPERM, shown);
  return fd;
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
  TrashAnswer<UniqueFd> trash = openOwnFolder(parent, name, owner, shown, missing);
  if (!trash) return trash.problem();
  TrashAnswer<UniqueFd> files = openOwnFolder(trash->get(), "files", owner, shown + "/files", missing);
  if (!files) return files.problem();
  TrashAnswer<UniqueFd> info = openOwnFolder(trash->get(), "info", owner, shown + "/info", missing);
  if (!info) return info.problem();
  const auto folderIdentity = itemIdentity(trash->get());
  const auto filesIdentity = itemIdentity(files->get());
  const auto infoIdentity = itemIdentity(info->get());
  if (!folderIdentity || !filesIdentity || !infoIdentity) return trashFolderProblem(errno, shown);
  TrashDirectory result{std::move(*trash),
                        std::move(*files),
                        std::move(*info),
                        *folderIdentity,
                        *filesIdentity,
                        *infoIdentity,
                        "",
                        topFolder,
                        0,
                        user.workFolderPrefix};
  result.path = posix::shownPath(result.folder.get());
  if (result.path.empty()) return trashFolderProblem(EIO, shown);
  result.nameLimit = longestName(result.info.get());
  return SharedTrashDirectory(std::make_shared<const TrashDirectory>(std::move(result)));
}

}  // namespace qm::linux_
