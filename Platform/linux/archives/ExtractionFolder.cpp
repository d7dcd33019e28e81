// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/ExtractionFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "Platform/linux/archives/ArchiveProblem.h"
#include "Platform/linux/archives/EntryName.h"
#include "Platform/linux/archives/NewFile.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/TemporaryName.h"

namespace qm::linux_ {
namespace {

using platform::Status;
using posix::errorOf;

constexpr int kStepFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// Creates a link, replacing a link or file of that name.
int makeLink(const std::string& target, int folder, const std::string& name) {
  if (::symlinkat(target.c_str(), folder, name.c_str()) == 0) return 0;
  if (errno != EEXIST) return errno;
  if (const int obstacle = obstacleToReplacing(folder, name)) return obstacle;
  const std::string temporary = posix::temporaryName();
  if (::symlinkat(target.c_str(), folder, temporary.c_str()) != 0) return errno;
  const int error = errorOf(::renameat(folder, temporary.c_str(), folder, name.c_str()));
  if (error != 0) ::unlinkat(folder, temporary.c_str(), 0);
  return error;
}

/// A file whose stated size exceeds the free space is not begun: it would fill the volume first.
int obstacleToSize(int file, const std::optional<std::uint64_t>& size) {
  struct statvfs volume {};
  if (!size || ::fstatvfs(file, &volume) != 0) return 0;
  if (volume.f_blocks == 0 || volume.f_frsize == 0) return 0;  // it reports no size
  return *size / volume.f_frsize > volume.f_bfree ? ENOSPC : 0;
}

/// Opening a link as a folder fails with the error for "not a folder"; report the one for a link instead.
int obstacleOnTheWay(int folder, const std::string& name, int error) {
  struct stat attributes {};
  const bool isLink =
      ::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(attributes.st_mode);
  return isLink ? ELOOP : error;
}

Status copyInto(NewFile& file, ZipReader& reader, const ZipEntry& entry, const std::function<bool()>& isStopped) {
  for (std::string_view block;;) {
    if (isStopped()) return problemWith(entry.name, EINTR);
    if (Status status = reader.read(block); !status) return status;
    if (block.empty()) return Status::success();
    if (const int error = file.write(block)) return problemInPlace(entry.name, error);
  }
}

}  // namespace

Status ExtractionFolder::add(const ZipEntry& entry, ZipReader& reader, const std::function<bool()>& isStopped) {
  std::vector<std::string> path;
  if (Status status = takeApart(entry.name, path); !status) return status;
  if (entry.isEncrypted) return problemWith(entry.name, "It is encrypted");
  if (entry.kind == ZipEntry::Kind::Other) return problemWith(entry.name, "It is not a file, a folder or a link");
  if (entry.kind == ZipEntry::Kind::Folder) return problemInPlace(entry.name, addFolder(path, entry));
  if (path.empty()) return problemInPlace(entry.name, EISDIR);
  const std::string name = std::move(path.back());
  path.pop_back();
  if (const int error = goTo(std::move(path))) return problemInPlace(entry.name, error);
  if (entry.kind == ZipEntry::Kind::Link) return problemInPlace(entry.name, addLink(name, entry));
  return addFile(name, entry, reader, isStopped);
}

Status ExtractionFolder::finish() { return folders_.applyAttributes(root_.get()); }

/// Goes to a folder. Starts from the folder of the last item if that is on the way.
int ExtractionFolder::goTo(Path path) {
  std::size_t known = path_.size();
  if (known > path.size() || !std::equal(path_.begin(), path_.end(), path.begin())) known = goToTop();
  path_.clear();
  for (std::size_t i = known; i < path.size(); ++i) {
    if (const int error = step(path[i])) {
      goToTop();
      return error;
    }
  }
  path_ = std::move(path);
  return 0;
}

std::size_t ExtractionFolder::goToTop() {
  here_.reset();
  folder_ = UnpackedFolders::kTop;
  return 0;
}

int ExtractionFolder::step(const std::string& name) {
  const std::size_t folder = folders_.below(folder_, name);
  posix::UniqueFd next(::openat(here(), name.c_str(), kStepFlags));
  if (!next && errno == ENOENT) {
    const bool isMade = ::mkdirat(here(), name.c_str(), S_IRWXU) == 0;
    if (!isMade && errno != EEXIST) return errno;
    next.reset(::openat(here(), name.c_str(), kStepFlags));
    const int error = next && isMade ? folders_.setMade(folder, here(), next.get()) : 0;
    if (error != 0) return error;
  }
  if (!next) return obstacleOnTheWay(here(), name, errno);
  here_ = std::move(next);
  folder_ = folder;
  return 0;
}

int ExtractionFolder::addFolder(const Path& path, const ZipEntry& entry) {
  if (const int error = goTo(path)) return error;
  if (!path.empty()) folders_.setAttributes(folder_, entry.permissions, entry.modified);
  return 0;
}

int ExtractionFolder::addLink(const std::string& name, const ZipEntry& entry) {
  if (const int error = makeLink(entry.target, here(), name)) return error;
  if (!entry.modified) return 0;
  const timespec times[] = {*entry.modified, *entry.modified};
  const int error = errorOf(::utimensat(here(), name.c_str(), times, AT_SYMLINK_NOFOLLOW));
  return posix::cannotBeKept(error) ? 0 : error;
}

Status ExtractionFolder::addFile(const std::string& name, const ZipEntry& entry, ZipReader& reader,
                                 const std::function<bool()>& isStopped) {
  NewFile file;
  if (const int error = file.begin(here(), name)) return problemInPlace(entry.name, error);
  if (const int error = obstacleToSize(file.descriptor(), entry.size)) return problemInPlace(entry.name, error);
  if (Status status = copyInto(file, reader, entry, isStopped); !status) return status;
  return problemInPlace(entry.name, file.finish(entry.permissions, entry.modified));
}

}  // namespace qm::linux_
