// SPDX-License-Identifier: MIT
#include "Platform/posix/FolderVisit.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <utility>

#include "Platform/posix/FileError.h"
#include "Platform/posix/FolderListing.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {
namespace {

using platform::DirectoryEntry;
using platform::EntrySizes;
using platform::FileType;

/// Checks that items can be reached through the folder. Without search permission the listed items cannot be reached.
int searchError(int folder) {
  struct stat unused {};
  return errorOf(::fstatat(folder, ".", &unused, 0));
}

bool lookAt(int folder, const char* name, DirectoryEntry& entry) {
  struct stat attributes {};
  if (::fstatat(folder, name, &attributes, AT_SYMLINK_NOFOLLOW) != 0) return false;
  entry.type = fileTypeOf(attributes.st_mode);
  entry.size = entry.type == FileType::Directory ? 0 : static_cast<std::uint64_t>(attributes.st_size);
  return true;
}

bool tellsEnough(EntryKind kind, EntrySizes sizes) {
  return kind == EntryKind::Folder || (kind == EntryKind::RegularFile && sizes == EntrySizes::No);
}

}  // namespace

FileType fileTypeOf(unsigned mode) {
  if (S_ISREG(mode)) return FileType::Regular;
  if (S_ISDIR(mode)) return FileType::Directory;
  return S_ISLNK(mode) ? FileType::SymbolicLink : FileType::Other;
}

int visitFolder(const std::string& path, EntrySizes sizes, const std::function<void(const DirectoryEntry&)>& visit) {
  if (const int error = pathError(path)) return error;
  UniqueFd folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC));
  if (!folder) return errno;
  if (const int error = searchError(folder.get())) return error;
  const std::string itself = withoutTrailingSlashes(path);
  const std::size_t prefix = itself == "/" ? 1 : itself.size() + 1;
  return forEachEntry(std::move(folder), [&](int descriptor, const char* name, EntryKind kind) {
    DirectoryEntry entry{name, kind == EntryKind::Folder ? FileType::Directory : FileType::Regular, 0};
    if (prefix + entry.name.size() >= PATH_MAX) return;
    if (tellsEnough(kind, sizes) || lookAt(descriptor, name, entry)) visit(entry);
  });
}

}  // namespace qm::posix
