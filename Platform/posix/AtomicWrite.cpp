// SPDX-License-Identifier: MIT
#include "Platform/posix/AtomicWrite.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <optional>

#include "Platform/posix/FileContents.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr mode_t kAccess = S_IRWXU | S_IRWXG | S_IRWXO;

/// The file that is replaced; null if the name is free or belongs to a link.
int lookAtOld(const Place& place, std::optional<struct stat>& old) {
  struct stat attributes {};
  if (::fstatat(place.folder.get(), place.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  if (S_ISDIR(attributes.st_mode)) return EISDIR;
  if (S_ISREG(attributes.st_mode)) old = attributes;
  return 0;
}

int takeOver(int file, const struct stat& old) {
  // If the owner cannot be set, the new file belongs to this user.
  static_cast<void>(::fchown(file, old.st_uid, old.st_gid) == 0);
  return errorOf(::fchmod(file, old.st_mode & kAccess));
}

int fill(int file, std::string_view contents, const std::optional<struct stat>& old) {
  if (const int error = writeAll(file, contents.data(), contents.size())) return error;
  if (old) {
    if (const int error = takeOver(file, *old)) return error;
  }
  return flushFile(file);
}

}  // namespace

int writeAtomically(const std::string& path, std::string_view contents) {
  Place place;
  if (const int error = openPlace(path, place)) return error;
  std::optional<struct stat> old;
  if (const int error = lookAtOld(place, old)) return error;
  const int folder = place.folder.get();
  const std::string name = temporaryName();
  // The new file is never accessible to more users than the old one was.
  const mode_t mode = old ? old->st_mode & kNewFileMode : kNewFileMode;
  const UniqueFd file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!file) return errno;
  int error = fill(file.get(), contents, old);
  if (error == 0) error = errorOf(::renameat(folder, name.c_str(), folder, place.name.c_str()));
  if (error != 0 && isStill(file.get(), folder, name)) ::unlinkat(folder, name.c_str(), 0);
  return error;
}

}  // namespace qm::posix
