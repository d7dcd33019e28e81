// SPDX-License-Identifier: MIT
#include "Platform/linux/privileges/helper/FolderMerge.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <vector>

#include "Platform/linux/rights/Writers.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/TreeCopy.h"

namespace qm::linux_ {
namespace {

using posix::FileError;
using posix::Place;
using posix::UniqueFd;

bool isFolder(const std::optional<struct stat>& status) { return status && S_ISDIR(status->st_mode); }

UniqueFd openFolder(const Place& place) {
  return UniqueFd(::openat(place.folder.get(), place.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

FileError copyInto(const UniqueFd& source, const UniqueFd& target) {
  std::vector<std::string> names;
  UniqueFd listed(::openat(source.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!listed) return errno;
  if (const int error = posix::listFolder(std::move(listed), names)) return error;
  for (const std::string& name : names) {
    const Place from{duplicate(source), name};
    const Place to{duplicate(target), name};
    if (!from.folder || !to.folder) return {errno, name};
    if (FileError error = copyMerging(from, to)) return error;
  }
  return {};
}

FileError copyReplacing(const Place& source, const Place& target) {
  posix::CopyObserver nobody;
  const Place hidden{duplicate(target.folder), posix::temporaryName()};
  if (!hidden.folder) return errno;
  if (FileError error = posix::copyTree(source, hidden, nobody)) return error;
  const int folder = target.folder.get();
  const UniqueFd copy(::openat(folder, hidden.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (::renameat(folder, hidden.name.c_str(), folder, target.name.c_str()) == 0) return {};
  const int error = errno;
  if (copy && posix::isStill(copy.get(), folder, hidden.name)) ::unlinkat(folder, hidden.name.c_str(), 0);
  return error;
}

}  // namespace

FileError copyMerging(const Place& source, const Place& target) {
  const auto from = statusIn(source.folder.get(), source.name.c_str());
  const auto to = statusIn(target.folder.get(), target.name.c_str());
  if (!from) return {errno, source.name};
  posix::CopyObserver nobody;
  if (!to) return posix::copyTree(source, target, nobody);
  if (isFolder(from) != isFolder(to)) return {isFolder(to) ? EISDIR : ENOTDIR, source.name};
  if (!isFolder(from)) return copyReplacing(source, target);
  const UniqueFd fromFolder = openFolder(source);
  const UniqueFd toFolder = openFolder(target);
  return fromFolder && toFolder ? copyInto(fromFolder, toFolder) : FileError(errno, source.name);
}

}  // namespace qm::linux_
