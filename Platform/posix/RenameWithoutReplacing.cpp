// SPDX-License-Identifier: MIT
#include "Platform/posix/RenameWithoutReplacing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "Platform/posix/FileError.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeCopy.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

int look(ItemName item, struct stat& attributes) {
  return errorOf(::fstatat(item.folder, item.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW));
}

/// An empty file that the moved item may replace.
class Placeholder {
 public:
  explicit Placeholder(ItemName place) : place_(place) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    file_.reset(::openat(place.folder, place.name.c_str(), kFlags, S_IRUSR | S_IWUSR));
    error_ = errorOf(file_.get());
  }
  Placeholder(const Placeholder&) = delete;
  Placeholder& operator=(const Placeholder&) = delete;
  /// Removed only if it is still the placeholder itself.
  ~Placeholder() {
    struct stat now {};
    if (!file_ || !isStill(file_.get(), place_.folder, place_.name) || ::fstat(file_.get(), &now) != 0) return;
    if (now.st_size == 0) ::unlinkat(place_.folder, place_.name.c_str(), 0);
  }

  int error() const { return error_; }
  void replaced() { file_.reset(); }

 private:
  const ItemName place_;
  UniqueFd file_;
  int error_ = 0;
};

int renameOverPlaceholder(ItemName from, ItemName to) {
  Placeholder placeholder(to);
  if (placeholder.error() != 0) return placeholder.error();
  const int error = errorOf(::renameat(from.folder, from.name.c_str(), to.folder, to.name.c_str()));
  if (error == 0) placeholder.replaced();
  return error;
}

/// Removes the first name, if both names still refer to the same item.
int removeFirstName(ItemName from, ItemName to) {
  struct stat first {};
  struct stat second {};
  if (const int error = look(from, first)) return error;
  if (const int error = look(to, second)) return error;
  if (!isSameItem(first, second)) return ESTALE;
  return errorOf(::unlinkat(from.folder, from.name.c_str(), 0));
}

/// The file system has no hard links, the item has the maximum of them, or this user may not create one for it.
bool cannotBeLinked(int error) { return error == EPERM || error == ENOTSUP || error == ENOSYS || error == EMLINK; }

/// A hard link is created only if the name is free. Then the first name is removed.
int renameBySecondName(ItemName from, ItemName to, const struct stat& item) {
  const int linkError = errorOf(::linkat(from.folder, from.name.c_str(), to.folder, to.name.c_str(), 0));
  if (cannotBeLinked(linkError)) return renameOverPlaceholder(from, to);
  if (linkError != 0) return linkError;
  const int error = removeFirstName(from, to);
  struct stat second {};
  const bool isOwn = error != 0 && look(to, second) == 0 && isSameItem(item, second);
  if (isOwn) ::unlinkat(to.folder, to.name.c_str(), 0);
  return error;
}

/// A folder can only replace an empty folder: if anything else takes the name after the check, the call fails. The
/// slash makes it fail, too, if something other than a folder takes the folder's own name.
int renameFolder(ItemName from, ItemName to) {
  struct stat taken {};
  if (const int error = look(to, taken); error != ENOENT) return error == 0 ? EEXIST : error;
  if (isWithin(to.folder, from.folder, from.name)) return EINVAL;
  const int error = errorOf(::renameat(from.folder, (from.name + "/").c_str(), to.folder, to.name.c_str()));
  return error == ENOTEMPTY || error == ENOTDIR ? EEXIST : error;
}

int renameInSteps(ItemName from, ItemName to) {
  struct stat item {};
  if (const int error = look(from, item)) return error;
  return S_ISDIR(item.st_mode) ? renameFolder(from, to) : renameBySecondName(from, to, item);
}

}  // namespace

int renameWithoutReplacing(ItemName from, ItemName to) {
  const int error = renameExclusively(from.folder, from.name.c_str(), to.folder, to.name.c_str());
  const bool isUnsupported = error == EINVAL || error == ENOTSUP || error == ENOSYS;
  return isUnsupported ? renameInSteps(from, to) : error;
}

}  // namespace qm::posix
