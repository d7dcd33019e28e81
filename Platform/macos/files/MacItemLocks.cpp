// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacItemLocks.h"

#include <sys/attr.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "Platform/macos/files/HeldPlace.h"
#include "Platform/posix/FileMessages.h"

namespace qm::macos {
namespace {

using posix::FileOperation;
using posix::Place;

/// An item by its folder, with what it is.
struct Item {
  Place place;
  struct stat status {};

  bool isLocked() const { return !S_ISLNK(status.st_mode) && (status.st_flags & UF_IMMUTABLE) != 0; }
};

int find(const std::string& path, Item& item) {
  if (const int error = openHeldPlace(path, item.place)) return error;
  const int found = ::fstatat(item.place.folder.get(), item.place.name.c_str(), &item.status, AT_SYMLINK_NOFOLLOW);
  return posix::errorOf(found);
}

/// Without opening it, which takes rights that the flag does not.
int writeFlags(const Place& place, std::uint32_t flags) {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_FLAGS;
  return posix::errorOf(
      ::setattrlistat(place.folder.get(), place.name.c_str(), &which, &flags, sizeof flags, FSOPT_NOFOLLOW));
}

int setFlag(const std::string& path, bool immutable) {
  Item item;
  if (const int error = find(path, item)) return error;
  if (item.isLocked() == immutable) return 0;
  if (S_ISLNK(item.status.st_mode)) return ENOTSUP;
  return writeFlags(item.place, item.status.st_flags ^ UF_IMMUTABLE);
}

}  // namespace

platform::Status MacItemLocks::setImmutable(const std::string& path, bool immutable) {
  return posix::statusOf(immutable ? FileOperation::Lock : FileOperation::Unlock, setFlag(path, immutable), path);
}

std::optional<bool> MacItemLocks::isImmutable(const std::string& path) const {
  Item item;
  return find(path, item) == 0 ? std::optional(item.isLocked()) : std::nullopt;
}

}  // namespace qm::macos
