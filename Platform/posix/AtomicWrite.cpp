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
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

constexpr mode_t kNewFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr mode_t kAccess = S_IRWXU | S_IRWXG | S_IRWXO;

/// The file that is replaced; null if the name is free or belongs to anything but a regular file.
int lookAtOld(const Place& place, std::optional<struct stat>& old) {
  struct stat attributes {};
  if (::fstatat(place.folder.get(), place.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) {
    return errno == ENOENT ? 0 : errno;
  }
  if (S_ISDIR(attributes.st_mode)) return EISDIR;
  if (S_ISREG(attributes.st_mode)) old = attributes;
  return 0;
}

/// The permissions of the old file for a file of another group. Members of one group count as others in the file of the
/// other group, so group and others get only what both had.
mode_t modeForAnotherGroup(mode_t old) {
  const mode_t shared = (old >> 3U) & old & S_IRWXO;
  return static_cast<mode_t>((old & S_IRWXU) | (shared << 3U) | shared);
}

int takeOver(int file, const struct stat& old) {
  // If the owner cannot be set, the new file belongs to this user. The user may still be a member of the group.
  const bool hasGroup =
      ::fchown(file, old.st_uid, old.st_gid) == 0 || ::fchown(file, static_cast<uid_t>(-1), old.st_gid) == 0;
  return errorOf(::fchmod(file, hasGroup ? old.st_mode & kAccess : modeForAnotherGroup(old.st_mode)));
}

/// The error that closing the file would report. The file itself stays open, to be recognised again.
int delayedError(int file) {
  UniqueFd sameFile = duplicate(file);
  return sameFile ? sameFile.close() : errno;
}

int fill(int file, std::string_view contents, const std::optional<struct stat>& old) {
  if (const int error = writeAll(file, contents.data(), contents.size())) return error;
  if (old) {
    if (const int error = takeOver(file, *old)) return error;
  }
  return delayedError(file);
}

}  // namespace

int writeAtomically(const std::string& path, std::string_view contents) {
  Place place;
  if (const int error = openPlace(path, place)) return error;
  std::optional<struct stat> old;
  if (const int error = lookAtOld(place, old)) return error;
  const int folder = place.folder.get();
  const std::string name = temporaryName();
  // Until it has the group of the old file, only its owner can access it.
  const mode_t mode = old ? S_IRUSR | S_IWUSR : kNewFileMode;
  const UniqueFd file(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  if (!file) return errno;
  int error = fill(file.get(), contents, old);
  if (error == 0) error = errorOf(::renameat(folder, name.c_str(), folder, place.name.c_str()));
  if (error != 0 && isStill(file.get(), folder, name)) ::unlinkat(folder, name.c_str(), 0);
  return error;
}

}  // namespace qm::posix
