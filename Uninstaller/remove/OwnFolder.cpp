// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/OwnFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "Platform/posix/SystemFileCalls.h"

namespace qm::removal {

posix::UniqueFd openOwnFolder(const std::string& path, uid_t user) {
  posix::UniqueFd folder(::open(path.c_str(), posix::lookupFlag() | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat found {};
  if (!folder || ::fstat(folder.get(), &found) != 0) return posix::UniqueFd();
  if (found.st_uid == user && (found.st_mode & (S_IWGRP | S_IWOTH)) == 0) return folder;
  errno = EPERM;
  return posix::UniqueFd();
}

}  // namespace qm::removal
