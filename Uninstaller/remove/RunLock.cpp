// SPDX-License-Identifier: MIT
#include "Uninstaller/remove/RunLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "Uninstaller/Language.h"
#include "Uninstaller/remove/OwnFolder.h"
#include "Uninstaller/remove/ThisSystem.h"

namespace qm::removal {
namespace {

using posix::UniqueFd;

constexpr const char* kName = "tessaly-remove.lock";

/// In /tmp anybody could create the file first and so prevent the user from ever running this.
UniqueFd openPrivateFolder(uid_t user, const std::string& home) {
  std::string path = home;
  for (const char* name : {"/.cache", "/tessaly-remove"}) {
    path += name;
    if (::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) return UniqueFd();
  }
  return openOwnFolder(path, user);
}

UniqueFd openLockFolder(uid_t user, const std::optional<std::string>& runtimeFolder, const std::string& home) {
  if (user == 0) return openOwnFolder(lockFolderOfRoot(), user);
  UniqueFd folder = runtimeFolder ? openOwnFolder(*runtimeFolder, user) : UniqueFd();
  return folder ? std::move(folder) : openPrivateFolder(user, home);
}

UniqueFd openLocked(int folder) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  UniqueFd file(::openat(folder, kName, kFlags, S_IRUSR | S_IWUSR));
  if (file && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0) file.reset();
  return file;
}

std::string problemOf(int error) {
  if (error == EWOULDBLOCK) return uninstaller::catalogued("Another run of tessaly-remove is under way.");
  return std::string("The lock against a second run couldn’t be taken: ") + std::strerror(error) + ".";
}

}  // namespace

RunLock RunLock::take(uid_t user, const std::optional<std::string>& runtimeFolder, const std::string& home) {
  RunLock lock;
  const UniqueFd folder = openLockFolder(user, runtimeFolder, home);
  if (folder) lock.file_ = openLocked(folder.get());
  if (!lock.file_) lock.problem_ = problemOf(errno);
  return lock;
}

}  // namespace qm::removal
