// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/Packing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "Platform/linux/archives/ArchiveProblem.h"
#include "Platform/linux/archives/PackedTree.h"
#include "Platform/linux/archives/ZipWriter.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/TemporaryName.h"

namespace qm::linux_ {
namespace {

using platform::Status;
using posix::UniqueFd;

constexpr mode_t kNewFile = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

/// An archive that grows beside its destination. It is removed unless it is published.
class NewArchive {
 public:
  NewArchive() = default;
  NewArchive(const NewArchive&) = delete;
  NewArchive& operator=(const NewArchive&) = delete;
  ~NewArchive() {
    if (isMade_) ::unlinkat(place_.folder.get(), name_.c_str(), 0);
  }

  int make(const std::string& path) {
    if (const int error = posix::openPlace(path, place_)) return error;
    if (const int error = lookAtOld()) return error;
    file_.reset(::openat(place_.folder.get(), name_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         isOldFile_ ? old_.st_mode & kNewFile : kNewFile));
    if (!file_) return errno;
    isMade_ = true;
    return 0;
  }

  int publish() {
    if (isOldFile_ && ::fchmod(file_.get(), old_.st_mode & kPermissions) != 0) return errno;
    if (const int error = file_.close()) return error;
    const int folder = place_.folder.get();
    const int error = posix::errorOf(::renameat(folder, name_.c_str(), folder, place_.name.c_str()));
    if (error == 0) isMade_ = false;
    return error;
  }

  int descriptor() const { return file_.get(); }

  /// Whether it would replace this file.
  bool replaces(const struct stat& file) const {
    return isOldFile_ && old_.st_dev == file.st_dev && old_.st_ino == file.st_ino;
  }

  int ownNames(OwnNames& own) const {
    own.names = {name_, place_.name};
    return posix::identify(place_.folder.get(), own.folder);
  }

 private:
  int lookAtOld() {
    if (::fstatat(place_.folder.get(), place_.name.c_str(), &old_, AT_SYMLINK_NOFOLLOW) != 0) {
      return errno == ENOENT ? 0 : errno;
    }
    isOldFile_ = S_ISREG(old_.st_mode);
    return S_ISDIR(old_.st_mode) ? EISDIR : 0;
  }

  posix::Place place_;
  struct stat old_ {};
  bool isOldFile_ = false;
  const std::string name_ = posix::temporaryName();
  UniqueFd file_;
  bool isMade_ = false;
};

/// The item's own name, even if the path ends in "." or "..". "" for the root directory.
std::string nameOf(const std::string& item) {
  std::string name = posix::nameIn(item);
  if (name == "." || name == "..") {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(item.c_str(), nullptr), &std::free);
    name = posix::nameIn(real ? real.get() : "/");
  }
  return name == "/" ? std::string() : name;
}

/// Without blocking, in case it is a FIFO.
int openItem(const std::string& path, UniqueFd& item, struct stat& attributes) {
  if (const int error = posix::pathError(path)) return error;
  item.reset(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  return item ? posix::errorOf(::fstat(item.get(), &attributes)) : errno;
}

}  // namespace

Status packItem(const std::string& item, const std::string& archive, KeepParent keepParent, const ArchiveRun& run) {
  UniqueFd source;
  struct stat attributes {};
  if (const int error = openItem(item, source, attributes)) return problemWith(item, error);
  const bool isFolder = S_ISDIR(attributes.st_mode);
  if (!isFolder && !S_ISREG(attributes.st_mode)) return problemWith(item, "It is neither a file nor a folder");
  NewArchive made;
  OwnNames own;
  if (const int error = made.make(archive)) return problemWith(archive, error);
  if (made.replaces(attributes)) return problemWith(archive, EINVAL);
  if (const int error = made.ownNames(own)) return problemWith(archive, error);
  ZipWriter writer;
  if (Status status = writer.open(made.descriptor()); !status) {
    return problemWith(archive, status.localizedDescription());
  }
  PackedTree tree(writer, own, run);
  const std::string name = isFolder && keepParent == KeepParent::No ? std::string() : nameOf(item);
  if (Status status = isFolder ? tree.addFolder(source.get(), name) : tree.addFile(source.get(), name); !status) {
    return status;
  }
  if (Status status = writer.finish(); !status) return problemWith(archive, status.localizedDescription());
  const int error = made.publish();
  return error == 0 ? Status::success() : problemWith(archive, error);
}

}  // namespace qm::linux_
