// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/Unpacking.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "Platform/linux/archives/ArchiveProblem.h"
#include "Platform/linux/archives/ExtractionFolder.h"
#include "Platform/linux/archives/NewFile.h"
#include "Platform/linux/archives/ZipReader.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/MakeFolders.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/RenameWithoutReplacing.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/TreeRemoval.h"

namespace qm::linux_ {
namespace {

using platform::Status;
using posix::UniqueFd;

Status fill(ExtractionFolder& folder, ZipReader& reader, const ArchiveRun& run) {
  std::optional<ZipEntry> entry;
  for (;;) {
    if (Status status = reader.next(entry); !status) return status;
    if (!entry) return Status::success();
    if (run.isStopped()) return problemWith(entry->name, EINTR);
    if (Status status = folder.add(*entry, reader, run.isStopped); !status) return status;
  }
}

/// A folder with a temporary name, accessible to its owner alone. It is removed with its contents unless it gets its
/// final name.
class NewFolder {
 public:
  explicit NewFolder(const posix::Place& place) : place_(place) {}
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;
  ~NewFolder() {
    if (made_) posix::removeOwnTree(place_.folder.get(), name_, made_.get());
  }

  int make(UniqueFd& folder) {
    const int parent = place_.folder.get();
    if (::mkdirat(parent, name_.c_str(), S_IRWXU) != 0) return errno;
    folder.reset(::openat(parent, name_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder) return errno;
    if (const int error = posix::checkOwnFolder(parent, folder.get())) return error;
    made_ = duplicate(folder);
    return posix::errorOf(made_.get());
  }

  int publish(int folder) {
    struct stat attributes {};
    if (::fstat(folder, &attributes) != 0) return errno;
    if (!posix::isStill(folder, place_.folder.get(), name_)) return ESTALE;
    if (::fchmod(folder, permissionsOfNewFolder(attributes)) != 0 && !posix::cannotBeKept(errno)) return errno;
    const int error = posix::renameWithoutReplacing({place_.folder.get(), name_}, {place_.folder.get(), place_.name});
    if (error == 0) made_.reset();
    return error;
  }

 private:
  const posix::Place& place_;
  const std::string name_ = posix::temporaryName();
  UniqueFd made_;
};

bool isTaken(const posix::Place& place) {
  struct stat attributes {};
  return ::fstatat(place.folder.get(), place.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0;
}

Status fillNewFolder(const std::string& path, ZipReader& reader, const ArchiveRun& run) {
  posix::Place place;
  if (const int error = posix::makeFolders(posix::folderOf(path))) return problemWith(path, error);
  if (const int error = posix::openPlace(path, place)) return problemWith(path, error);
  // A dangling link.
  if (isTaken(place)) return problemWith(path, EEXIST);
  NewFolder made(place);
  UniqueFd folder;
  if (const int error = made.make(folder)) return problemWith(path, error);
  ExtractionFolder extraction(std::move(folder));
  if (Status status = fill(extraction, reader, run); !status) return status;
  if (Status status = extraction.finish(); !status) return status;
  const int error = made.publish(extraction.descriptor());
  return error == 0 ? Status::success() : problemWith(path, error);
}

}  // namespace

Status unpackArchive(const std::string& archive, const std::string& folder, const ArchiveRun& run) {
  if (const int error = posix::pathError(folder)) return problemWith(folder, error);
  ZipReader reader;
  if (Status status = reader.open(archive); !status) return status;
  UniqueFd existing(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (!existing && errno == ENOENT) return fillNewFolder(folder, reader, run);
  if (!existing) return problemWith(folder, errno);
  ExtractionFolder extraction(std::move(existing));
  Status filled = fill(extraction, reader, run);
  Status finished = extraction.finish();
  return filled ? finished : filled;
}

}  // namespace qm::linux_
