// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/MakersFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/PathWalk.h"
#include "Platform/posix/rights/WorkFolder.h"
#include "Uninstaller/Product.h"

namespace qm::removal {
namespace {

using posix::UniqueFd;

constexpr mode_t kPermissions = S_ISUID | S_ISGID | S_ISVTX | S_IRWXU | S_IRWXG | S_IRWXO;

UniqueFd openFolder(int above, const std::string& name) {
  return UniqueFd(::openat(above, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

int makeOwn(const RememberedFolder& folder) {
  if (::mkdir(folder.path.c_str(), S_IRWXU) != 0) return errno;
  return ::chmod(folder.path.c_str(), folder.mode & kPermissions) == 0 ? 0 : errno;
}

/// Creates the folder inside a work folder, where only root can reach it.
int makeIn(int work, const std::string& name, const RememberedFolder& folder) {
  if (::mkdirat(work, name.c_str(), S_IRWXU) != 0) return errno;
  const UniqueFd made = openFolder(work, name);
  if (!made || ::fchown(made.get(), folder.owner, folder.group) != 0) return errno;
  return ::fchmod(made.get(), folder.mode & kPermissions) == 0 ? 0 : errno;
}

/// Removes what was left by an interrupted process that was creating the folder. Only empty folders are removed.
void removeLeftovers(int above, const std::string& name) {
  for (const posix::WorkFolder& left : posix::WorkFolder::leftIn(above, kProduct.workFolderPrefix)) {
    ::unlinkat(left.descriptor(), name.c_str(), AT_REMOVEDIR);
    static_cast<void>(left.removeEmpty());
  }
}

int makeAsRoot(const RememberedFolder& folder) {
  posix::Answer<posix::PinnedPlace> place = posix::pinPath(folder.path, posix::LastLink::Stays);
  if (!place) return place.problem().error;
  if (place->exists()) return EEXIST;
  const int above = place->folder.get();
  removeLeftovers(above, place->name);
  const std::string workName = posix::WorkFolder::newName(kProduct.workFolderPrefix);
  const posix::Answer<posix::WorkFolder> work = posix::WorkFolder::make(above, workName);
  if (!work) return work.problem().error;
  int error = makeIn(work->descriptor(), place->name, folder);
  if (error == 0) error = posix::renameWithoutReplacing({work->descriptor(), place->name}, {above, place->name});
  static_cast<void>(work->remove());
  return error;
}

}  // namespace

int lookAt(const std::string& path, std::optional<RememberedFolder>& folder) {
  struct stat found {};
  if (::lstat(path.c_str(), &found) != 0) return errno == ENOENT ? 0 : errno;
  if (!S_ISDIR(found.st_mode)) return 0;
  folder = RememberedFolder{path, found.st_uid, found.st_gid, static_cast<mode_t>(found.st_mode & kPermissions),
                            posix::modificationTime(found)};
  return 0;
}

int makeAgain(const RememberedFolder& folder) { return ::geteuid() == 0 ? makeAsRoot(folder) : makeOwn(folder); }

int finish(const RememberedFolder& folder) {
  const posix::Answer<posix::PinnedPlace> place = posix::pinPath(folder.path, posix::LastLink::Stays);
  if (!place) return place.problem().error;
  if (::geteuid() == 0) removeLeftovers(place->folder.get(), place->name);
  const UniqueFd found = openFolder(place->folder.get(), place->name);
  if (!found) return errno == ENOENT ? 0 : errno;
  struct stat status {};
  if (::fstat(found.get(), &status) != 0) return errno;
  // Another folder that is in its place by now keeps its own time.
  const bool isLike = status.st_uid == folder.owner && (status.st_mode & kPermissions) == folder.mode;
  const timespec times[] = {{0, UTIME_OMIT}, folder.changed};
  return !isLike || ::futimens(found.get(), times) == 0 ? 0 : errno;
}

}  // namespace qm::removal
