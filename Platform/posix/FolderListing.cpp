// SPDX-License-Identifier: MIT
#include "Platform/posix/FolderListing.h"

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <string_view>

namespace qm::posix {
namespace {

struct CloseStream {
  void operator()(DIR* stream) const { ::closedir(stream); }
};

EntryKind kindOf(const dirent& entry) {
  switch (entry.d_type) {
    case DT_DIR:
      return EntryKind::Folder;
    case DT_REG:
      return EntryKind::RegularFile;
    case DT_UNKNOWN:
      return EntryKind::Unknown;
    default:
      return EntryKind::Other;
  }
}

}  // namespace

int forEachEntry(UniqueFd folder, const std::function<void(int, const char*, EntryKind)>& take) {
  const std::unique_ptr<DIR, CloseStream> stream(::fdopendir(folder.get()));
  if (!stream) return errno;
  const int descriptor = folder.release();  // the stream closes it
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(stream.get());
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") take(descriptor, entry->d_name, kindOf(*entry));
  }
}

int listFolder(UniqueFd folder, std::vector<FolderEntry>& entries) {
  return forEachEntry(std::move(folder), [&](int, const char* name, EntryKind kind) {
    entries.push_back({name, kind});
  });
}

int listFolder(UniqueFd folder, std::vector<std::string>& names) {
  return forEachEntry(std::move(folder), [&](int, const char* name, EntryKind) { names.emplace_back(name); });
}

}  // namespace qm::posix
