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
  /// Only what is still the placeholder itself goes away again.
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

/// The second name is that of the item, and the first one no other item's.
int removeFirstName(ItemName from, ItemName to) {
  struct stat first {};
  struct stat second {};
  if (const int error = look(from, first)) return error;
  if (const int error = look(to, second)) return error;
  if (!isSameItem(first, second)) return ESTALE;
  return errorOf(::unlinkat(from.folder, from.name.c_str(), 0));
}

/// The file system has no second names, no more of them for this item, or this user may not give it one.
bool cannotBeLinked(int error) { return error == EPERM || error == ENOTSUP || error == ENOSYS || error == EMLINK; }

/// A second name is given only where nothing is. Then the first one goes.
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

/// A folder replaces nothing but an empty folder: whatever else gets the name after the look makes the call fail. The
/// slash is for what takes the folder's own name meanwhile.
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
