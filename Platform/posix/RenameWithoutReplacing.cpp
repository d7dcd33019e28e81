#include "Platform/posix/RenameWithoutReplacing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeCopy.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

// An empty item of the kind that the moved one may replace.
class Placeholder {
 public:
  Placeholder(int folder, const char* name, bool isFolder) : folder_(folder), name_(name), isFolder_(isFolder) {
    made_ = isFolder ? ::mkdirat(folder, name, S_IRWXU) == 0 : makeFile();
  }
  Placeholder(const Placeholder&) = delete;
  Placeholder& operator=(const Placeholder&) = delete;
  ~Placeholder() {
    if (made_) remove();
  }

  bool made() const { return made_; }
  void replaced() { made_ = false; }

 private:
  bool makeFile() {
    const UniqueFd file(
        ::openat(folder_, name_, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return file && ::fstat(file.get(), &own_) == 0;
  }

  // Only what is still the placeholder itself goes away again.
  void remove() const {
    const int saved = errno;
    struct stat now {};
    if (isFolder_) {
      ::unlinkat(folder_, name_, AT_REMOVEDIR);
    } else if (::fstatat(folder_, name_, &now, AT_SYMLINK_NOFOLLOW) == 0 && now.st_ino == own_.st_ino &&
               now.st_size == 0) {
      ::unlinkat(folder_, name_, 0);
    }
    errno = saved;
  }

  int folder_;
  const char* name_;
  bool isFolder_;
  bool made_ = false;
  struct stat own_ {};
};

int renameOverPlaceholder(ItemName from, ItemName to) {
  struct stat item {};
  if (::fstatat(from.folder, from.name.c_str(), &item, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (S_ISDIR(item.st_mode) && isWithin(to.folder, from.folder, from.name)) return EINVAL;
  Placeholder placeholder(to.folder, to.name.c_str(), S_ISDIR(item.st_mode));
  if (!placeholder.made()) return errno;
  if (::renameat(from.folder, from.name.c_str(), to.folder, to.name.c_str()) != 0) return errno;
  placeholder.replaced();
  return 0;
}

}  // namespace

int renameWithoutReplacing(ItemName from, ItemName to) {
  const int error = renameExclusively(from.folder, from.name.c_str(), to.folder, to.name.c_str());
  const bool isUnsupported = error == EINVAL || error == ENOTSUP || error == ENOSYS;
  return isUnsupported ? renameOverPlaceholder(from, to) : error;
}

}  // namespace qm::posix
