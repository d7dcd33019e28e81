// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/ReadOnlyFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

bool isOwnLockedFolder(int folder, const ItemIdentity& item, uid_t owner) {
  return S_ISDIR(item.mode) && item.owner == owner && (item.mode & S_IWUSR) == 0 &&
         ::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0;
}

int renameUnlocked(int above, const std::string& name, const ItemIdentity& item, const std::function<int()>& rename) {
  const UniqueFd folder(::openat(above, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  const std::optional<ItemIdentity> found = folder ? itemIdentity(folder.get()) : std::nullopt;
  if (!found || !found->sameItem(item)) return EACCES;
  constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO | S_ISUID | S_ISGID | S_ISVTX;
  if (posix::setMode(folder.get(), (found->mode & permissions) | S_IWUSR) != 0) return EACCES;
  const int error = rename();
  posix::setMode(folder.get(), found->mode & permissions);
  return error;
}

}  // namespace

int renameUnlocking(int folder, const std::string& name, const ItemIdentity& item, uid_t owner,
                    const std::function<int()>& rename) {
  const int error = rename();
  return error == EACCES && isOwnLockedFolder(folder, item, owner) ? renameUnlocked(folder, name, item, rename) : error;
}

}  // namespace qm::linux_
