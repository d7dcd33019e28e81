// SPDX-License-Identifier: MIT
#include "Platform/posix/NamedClone.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
namespace {

int openOwn(ItemName name, UniqueFd& clone) {
  struct stat found {};
  clone.reset(::openat(name.folder, name.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!clone || ::fstat(clone.get(), &found) != 0) return errno;
  return isOwnNewFile(found, ::geteuid()) ? 0 : ESTALE;
}

void removeOwn(ItemName name) {
  struct stat found {};
  if (::fstatat(name.folder, name.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (isOwnNewFile(found, ::geteuid())) ::unlinkat(name.folder, name.name.c_str(), 0);
}

}  // namespace

int takeNamedClone(ItemName name, UniqueFd& clone) {
  const int error = openOwn(name, clone);
  if (error == 0) {
    dropInheritedAccess(clone.get());
  } else {
    clone.reset();
    removeOwn(name);
  }
  return error;
}

}  // namespace qm::posix
