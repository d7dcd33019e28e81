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
#include "Platform/posix/TemporaryName.h"

namespace qm::linux_ {
namespace {

using platform::Status;
using posix::errorOf;

constexpr int kStepFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// Makes a link, in place of a link or file that has the name.
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

/// A file that says it is larger than all that is free is not begun: it would fill the volume first.
int obstacleToSize(int file, const std::optional<std::uint64_t>& size) {
  struct statvfs volume {};
  if (!size || ::fstatvfs(file, &volume) != 0) return 0;
  if (volume.f_blocks == 0 || volume.f_frsize == 0) return 0;  // it tells no size
  return *size / volume.f_frsize > volume.f_bfree ? ENOSPC : 0;
}

Status answer(const std::string& name, int error) {
  switch (error) {
    case 0:
      return Status::success();
    case ELOOP:
      return problemWith(name, "It would be written through a link");
    case EISDIR:
      return problemWith(name, "A folder has its name");
    case ENOTDIR:
      return problemWith(name, "Something that is no folder is in its way");
    default:
      return problemWith(name, error);
  }
}

std::string joined(const std::vector<std::string>& path) {
  std::string name;
  for (const std::string& component : path) name += (name.empty() ? "" : "/") + component;
  return name;
}

Status copyInto(NewFile& file, ZipReader& reader, const ZipEntry& entry, const std::function<bool()>& isStopped) {
  for (std::string_view block;;) {
    if (isStopped()) return problemWith(entry.name, EINTR);
    if (Status status = reader.read(block); !status) return status;
    if (block.empty()) return Status::success();
    if (const int error = file.write(block)) return answer(entry.name, error);
  }
}

}  // namespace

Status ExtractionFolder::add(const ZipEntry& entry, ZipReader& reader, const std::function<bool()>& isStopped) {
  std::vector<std::string> path;
  if (Status status = takeApart(entry.name, path); !status) return status;
  if (entry.isEncrypted) return problemWith(entry.name, "It is encrypted");
  if (entry.kind == ZipEntry::Kind::Other)
    return problemWith(entry.name, "It is neither a file nor a folder nor a link");
  if (entry.kind == ZipEntry::Kind::Folder) return answer(entry.name, addFolder(path, entry));
  if (path.empty()) return answer(entry.name, EISDIR);
  const std::string name = std::move(path.back());
  path.pop_back();
  if (const int error = goTo(std::move(path))) return answer(entry.name, error);
  if (entry.kind == ZipEntry::Kind::Link) return answer(entry.name, addLink(name, entry));
  return addFile(name, entry, reader, isStopped);
}

Status ExtractionFolder::finish() {
  // What is deep comes first: a folder may shut its owner out.
  std::vector<std::pair<Path, Folder>> folders(folders_.begin(), folders_.end());
  std::stable_sort(folders.begin(), folders.end(),
                   [](const auto& a, const auto& b) { return a.first.size() > b.first.size(); });
  folders_.clear();
  Status first;
  for (const auto& [path, folder] : folders) {
    const int error = settle(path, folder);
    if (error != 0 && first) first = answer(joined(path), error);
  }
  return first;
}

/// Goes to a folder. The way begins at the folder of the last item where that is on it.
int ExtractionFolder::goTo(Path path, Missing missing) {
  std::size_t known = path_.size();
  if (known > path.size() || !std::equal(path_.begin(), path_.end(), path.begin())) {
    known = 0;
    here_.reset();
  }
  path_.clear();
  for (std::size_t i = known; i < path.size(); ++i) {
    if (const int error = step(path, i, missing)) {
      here_.reset();
      return error;
    }
  }
  path_ = std::move(path);
  return 0;
}

int ExtractionFolder::step(const Path& path, std::size_t index, Missing missing) {
  const std::string& name = path[index];
  posix::UniqueFd next(::openat(here(), name.c_str(), kStepFlags));
  if (!next && errno == ENOENT && missing == Missing::Make) {
    if (const int error = make(path, index)) return error;
    next.reset(::openat(here(), name.c_str(), kStepFlags));
  }
  if (!next) {
    const int error = errno;
    struct stat attributes {};
    const bool isLink =
        ::fstatat(here(), name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(attributes.st_mode);
    return isLink ? ELOOP : error;
  }
  here_ = std::move(next);
  return 0;
}

int ExtractionFolder::make(const Path& path, std::size_t index) {
  if (::mkdirat(here(), path[index].c_str(), S_IRWXU) != 0) return errno == EEXIST ? 0 : errno;
  const auto end = path.begin() + static_cast<std::ptrdiff_t>(index) + 1;
  folders_[Path(path.begin(), end)].isMade = true;
  return 0;
}

int ExtractionFolder::addFolder(const Path& path, const ZipEntry& entry) {
  if (const int error = goTo(path)) return error;
  if (path.empty()) return 0;
  Folder& folder = folders_[path];
  folder.permissions = entry.permissions;
  folder.modified = entry.modified;
  return 0;
}

int ExtractionFolder::addLink(const std::string& name, const ZipEntry& entry) {
  if (const int error = makeLink(entry.target, here(), name)) return error;
  if (!entry.modified) return 0;
  const timespec times[] = {*entry.modified, *entry.modified};
  return errorOf(::utimensat(here(), name.c_str(), times, AT_SYMLINK_NOFOLLOW));
}

Status ExtractionFolder::addFile(const std::string& name, const ZipEntry& entry, ZipReader& reader,
                                 const std::function<bool()>& isStopped) {
  NewFile file;
  if (const int error = file.begin(here(), name)) return answer(entry.name, error);
  if (const int error = obstacleToSize(file.descriptor(), entry.size)) return answer(entry.name, error);
  if (Status status = copyInto(file, reader, entry, isStopped); !status) return status;
  return answer(entry.name, file.finish(entry.permissions, entry.modified));
}

int ExtractionFolder::settle(Path path, const Folder& folder) {
  const std::string name = std::move(path.back());
  path.pop_back();
  if (const int error = goTo(std::move(path), Missing::Fail)) return error;
  // Not for reading, which its permissions may forbid; what is open in this way is changed by its name in /proc.
  const posix::UniqueFd made(::openat(here(), name.c_str(), kStepFlags));
  struct stat attributes {};
  if (!made || ::fstat(made.get(), &attributes) != 0) return errno;
  if (!folder.isMade && attributes.st_uid != ::geteuid()) return 0;
  const std::string self = "/proc/self/fd/" + std::to_string(made.get());
  const mode_t permissions = folder.permissions.value_or(permissionsOfNewFolder(attributes));
  if (::chmod(self.c_str(), permissions) != 0) return errno;
  if (!folder.modified) return 0;
  const timespec times[] = {*folder.modified, *folder.modified};
  return errorOf(::utimensat(AT_FDCWD, self.c_str(), times, 0));
}

mode_t permissionsOfNewFolder(const struct stat& attributes) {
  // It can only be read by setting it; there is no other thread to see that.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return ((S_IRWXU | S_IRWXG | S_IRWXO) & ~mask) | (attributes.st_mode & S_ISGID);
}

}  // namespace qm::linux_
