// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/NewFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/FileContents.h"
#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/TemporaryName.h"

namespace qm::linux_ {

int obstacleToReplacing(int folder, const std::string& name) {
  struct stat attributes {};
  if (::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno == ENOENT ? 0 : errno;
  return S_ISDIR(attributes.st_mode) ? EISDIR : 0;
}

NewFile::~NewFile() {
  struct stat found {};
  if (currentName_.empty() || ::fstatat(folder_, currentName_.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (posix::isSameItem(made_, found)) ::unlinkat(folder_, currentName_.c_str(), 0);
}

int NewFile::begin(int folder, const std::string& name) {
  folder_ = folder;
  name_ = name;
  const int error = create(name);
  if (error != EEXIST) return error;
  if (const int obstacle = obstacleToReplacing(folder, name)) return obstacle;
  return create(posix::temporaryName());
}

int NewFile::create(const std::string& name) {
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  file_.reset(::openat(folder_, name.c_str(), flags, S_IRUSR | S_IWUSR));
  if (!file_) return errno;
  currentName_ = name;
  return ::fstat(file_.get(), &made_) == 0 ? 0 : errno;
}

int NewFile::write(std::string_view bytes) { return posix::writeAll(file_.get(), bytes.data(), bytes.size()); }

int NewFile::finish(mode_t permissions, const std::optional<timespec>& modified) {
  if (::fchmod(file_.get(), permissions) != 0 && !posix::cannotBeKept(errno)) return errno;
  if (modified) {
    const timespec times[] = {*modified, *modified};
    if (::futimens(file_.get(), times) != 0 && !posix::cannotBeKept(errno)) return errno;
  }
  if (const int error = file_.close()) return error;
  if (currentName_ != name_) {
    if (::renameat(folder_, currentName_.c_str(), folder_, name_.c_str()) != 0) return errno;
  }
  currentName_.clear();
  return 0;
}

}  // namespace qm::linux_
