// SPDX-License-Identifier: MIT
#include <algorithm>

#include "Platform/foundation/PathComponents.h"
#include "tests/fakes/DiskPlace.h"
#include "tests/fakes/FakeDisk.h"

namespace qm::testing {

using platform::FileType;

// Queries.

bool FakeDisk::exists(const std::string& path, Access access) {
  const Lock lock = settled();
  return find(path, Follow::Yes, access).item != nullptr;
}

bool FakeDisk::isDirectory(const std::string& path, Access access) {
  const Lock lock = settled();
  const Place place = find(path, Follow::Yes, access);
  return place.item && place.item->isFolder();
}

bool FakeDisk::isExecutableFile(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::Yes, Access::User);
  return place.item && place.item->isFile() && place.item->executable;
}

bool FakeDisk::isWritable(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::Yes, Access::User);
  return place.item && changeError(*place.item) == 0;
}

std::optional<std::vector<std::string>> FakeDisk::list(const std::string& path, Access access) {
  const Lock lock = settled();
  const Place place = find(path, Follow::Yes, access);
  if (!place.item || !place.item->isFolder() || !may(place.item->readable, access)) return std::nullopt;
  std::vector<std::string> names;
  for (const auto& [name, unused] : place.item->entries) names.push_back(name);
  return names;
}

std::optional<platform::ItemAttributes> FakeDisk::attributes(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item) return std::nullopt;
  return platform::ItemAttributes{place.item->type, place.item->contents.size(), place.item->modificationDate};
}

std::optional<std::string> FakeDisk::target(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item || !place.item->isLink()) return std::nullopt;
  return place.item->contents;
}

std::string FakeDisk::mountPointOf(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::Administrator);
  if (place.item) return place.item->mountPoint()->path();
  if (place.folder) return place.folder->mountPoint()->path();
  return path == "/" || path.empty() ? "/" : mountPointOf(foundation::deletingLastPathComponent(path));
}

// Obstacles to a change.

/// Of the item itself, by the user.
int FakeDisk::changeError(DiskNode& item) const { return folderError(item, Access::User); }

int FakeDisk::folderError(DiskNode& folder, Access access) const {
  if (folder.kind().readOnly) return EROFS;
  if (folder.immutable) return EPERM;
  return may(folder.writable, access) ? 0 : EACCES;
}

/// The first error of removing an item and all below.
int FakeDisk::removalError(const DiskNode& item, Access access) const {
  if (item.volume) return EBUSY;
  if (item.immutable) return EPERM;
  if (!item.entries.empty() && !may(item.writable, access)) return EACCES;
  for (const auto& [unused, entry] : item.entries) {
    if (const int error = removalError(*entry, access); error != 0) return error;
  }
  return 0;
}

/// The first item below a folder that is neither a folder nor expendable, or cannot be examined.
int FakeDisk::hollowError(const DiskNode& item, const std::vector<std::string>& expendable) const {
  if (!may(item.readable, Access::User)) return EACCES;
  for (const auto& [name, entry] : item.entries) {
    const bool isExpendable = std::find(expendable.begin(), expendable.end(), name) != expendable.end();
    if (!entry->isFolder() && !isExpendable) return ENOTEMPTY;
    if (!entry->isFolder()) continue;
    if (const int error = hollowError(*entry, expendable); error != 0) return error;
  }
  return 0;
}

/// The first error of reading an item and all below.
int FakeDisk::copyError(const DiskNode& item, Access access) const {
  if (!item.isLink() && !may(item.readable, access)) return EACCES;
  for (const auto& [unused, entry] : item.entries) {
    if (const int error = copyError(*entry, access); error != 0) return error;
  }
  return 0;
}

int FakeDisk::spaceError(DiskNode& folder, std::uint64_t bytes) {
  const std::optional<std::uint64_t> capacity = folder.kind().capacity;
  return capacity && folder.mountPoint()->size() + bytes > *capacity ? ENOSPC : 0;
}

// Changes.

/// Puts a new item at a free path.
int FakeDisk::put(const Place& place, const std::shared_ptr<DiskNode>& item, Access access) {
  if (const int error = folderError(*place.folder, access); error != 0) return error;
  if (const int error = spaceError(*place.folder, item->size()); error != 0) return error;
  place.folder->add(place.name, item);
  changed(*place.folder);
  return 0;
}

int FakeDisk::moveAcross(const Place& from, const Place& to, Access access) {
  if (const int error = copyError(*from.item, access); error != 0) return error;
  if (const int error = removalError(*from.item, access); error != 0) return error;
  if (const int error = put(to, from.item->clone(), access); error != 0) return error;
  from.folder->take(from.name);
  changed(*from.folder);
  return 0;
}

int FakeDisk::move(const std::string& source, const std::string& destination, Access access) {
  const Lock lock = settled();
  const Place from = find(source, Follow::No, access);
  if (!from.item) return from.error;
  const Place to = find(destination, Follow::No, access);
  if (!to.isFree()) return to.item ? EEXIST : to.error;
  if (from.item->volume) return EBUSY;
  if (to.folder->isWithin(*from.item)) return EINVAL;
  if (const int error = folderError(*from.folder, access); error != 0) return error;
  if (from.item->immutable) return EPERM;
  if (from.folder->mountPoint() != to.folder->mountPoint()) return moveAcross(from, to, access);
  if (const int error = folderError(*to.folder, access); error != 0) return error;
  to.folder->add(to.name, from.folder->take(from.name));
  changed(*from.folder);
  changed(*to.folder);
  return 0;
}

int FakeDisk::link(const std::string& source, const std::string& destination) {
  const Lock lock = settled();
  const Place from = find(source, Follow::No, Access::User);
  if (!from.item) return from.error;
  const Place to = find(destination, Follow::No, Access::User);
  if (!to.isFree()) return to.item ? EEXIST : to.error;
  if (from.item->isFolder() || from.item->immutable) return EPERM;
  if (from.folder != to.folder) return EXDEV;
  if (const int error = folderError(*to.folder, Access::User); error != 0) return error;
  to.folder->add(to.name, from.item);
  changed(*to.folder);
  return 0;
}

int FakeDisk::copy(const std::string& source, const std::string& destination, Access access) {
  const Lock lock = settled();
  const Place from = find(source, Follow::No, access);
  if (!from.item) return from.error;
  const Place to = find(destination, Follow::No, access);
  if (!to.isFree()) return to.item ? EEXIST : to.error;
  if (to.folder->isWithin(*from.item)) return EINVAL;
  if (const int error = copyError(*from.item, access); error != 0) return error;
  return put(to, from.item->clone(), access);
}

int FakeDisk::makeFolders(const std::string& path, Access access) {
  const Lock lock = settled();
  Place place = find(path, Follow::Yes, access);
  if (place.item) return place.item->isFolder() ? 0 : EEXIST;
  if (place.error != ENOENT) return place.error;
  if (find(path, Follow::No, access).item) return EEXIST;  // a dangling link
  if (!place.folder) {
    const std::string above = foundation::deletingLastPathComponent(path);
    if (above.empty() || above == path) return ENOENT;
    if (const int error = makeFolders(above, access); error != 0) return error;
    place = find(path, Follow::Yes, access);
  }
  return place.isFree() ? put(place, make(FileType::Directory, ""), access) : place.error;
}

int FakeDisk::makeLink(const std::string& path, const std::string& target, Access access) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, access);
  if (!place.isFree()) return place.item ? EEXIST : place.error;
  return put(place, make(FileType::SymbolicLink, target), access);
}

/// Removes the contents first, and stops at the first error.
int FakeDisk::removeItem(DiskNode& folder, const std::string& name, Access access) {
  const std::shared_ptr<DiskNode> item = folder.entry(name)->second;
  if (item->volume) return EBUSY;
  if (const int error = folderError(folder, access); error != 0) return error;
  while (!item->entries.empty()) {
    if (const int error = removeItem(*item, item->entries.front().first, access); error != 0) return error;
  }
  if (item->immutable) return EPERM;
  folder.take(name);
  changed(folder);
  return 0;
}

int FakeDisk::removeTree(const std::string& path, Access access) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, access);
  if (!place.item) return place.error;
  return place.folder ? removeItem(*place.folder, place.name, access) : EBUSY;
}

int FakeDisk::removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item) return place.error;
  if (!place.item->isFolder()) return ENOTDIR;
  if (place.item->volume) return EBUSY;
  if (const int error = folderError(*place.folder, Access::User); error != 0) return error;
  if (place.item->entries.empty()) return removeItem(*place.folder, place.name, Access::User);
  if (const int error = hollowError(*place.item, expendable); error != 0) return error;
  if (const int error = removalError(*place.item, Access::User); error != 0) return error;
  return removeItem(*place.folder, place.name, Access::User);
}

int FakeDisk::writeFile(const std::string& path, std::string_view contents, Access access) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, access);
  if (place.item && place.item->isFolder()) return EISDIR;
  if (!place.folder) return place.error;
  if (const int error = folderError(*place.folder, access); error != 0) return error;
  if (place.item && place.item->immutable) return EPERM;
  if (const int error = spaceError(*place.folder, contents.size()); error != 0) return error;
  if (place.item) place.folder->take(place.name);
  return put(place, make(FileType::Regular, std::string(contents)), access);
}

int FakeDisk::setImmutable(const std::string& path, bool immutable) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item) return place.error;
  if (place.item->immutable == immutable) return 0;
  if (place.item->isLink()) return EOPNOTSUPP;
  if (place.item->kind().readOnly) return EROFS;
  place.item->immutable = immutable;
  return 0;
}

std::optional<bool> FakeDisk::isImmutable(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item) return std::nullopt;
  return place.item->immutable;
}

int FakeDisk::setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item) return place.error;
  if (!keepsCreationDates_) return ENOTSUP;
  if (const int error = changeError(*place.item); error != 0) return error;
  place.item->creationDate = date;
  return 0;
}

int FakeDisk::touch(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::Yes, Access::User);
  if (place.item) changed(*place.item);
  return place.error;
}

// Open files.

std::shared_ptr<DiskNode> FakeDisk::open(const std::string& path) {
  const Lock lock = settled();
  const Place place = find(path, Follow::No, Access::User);
  if (!place.item || !place.item->isFile() || !may(place.item->writable, Access::User)) return nullptr;
  if (place.item->immutable || place.item->kind().readOnly) return nullptr;
  return place.item;
}

std::size_t FakeDisk::length(const DiskNode& file) {
  const Lock lock = settled();
  return file.contents.size();
}

int FakeDisk::write(DiskNode& file, std::size_t& position, std::string_view data) {
  const Lock lock = settled();
  std::size_t fitting = data.size();
  if (const std::optional<std::uint64_t> capacity = file.kind().capacity) {
    const std::uint64_t used = file.mountPoint()->size() - (file.contents.size() - position);
    fitting = std::min<std::size_t>(fitting, *capacity > used ? *capacity - used : 0);
  }
  file.contents.resize(std::max(file.contents.size(), position + fitting));
  file.contents.replace(position, fitting, data.substr(0, fitting));
  position += fitting;
  changed(file);
  return fitting == data.size() ? 0 : ENOSPC;
}

void FakeDisk::cutOff(DiskNode& file, std::size_t length) {
  const Lock lock = settled();
  file.contents.resize(length);
  changed(file);
}

}  // namespace qm::testing
