// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacItemLocks.h"

#include <sys/attr.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "Platform/macos/files/HeldPlace.h"
#include "Platform/macos/files/ItemRules.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/RightsForPaths.h"

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

/// The name may stand for another item by now, so only for somebody who gains nothing by that. Takes no right to read.
int writeFlagsByName(const Place& place, std::uint32_t flags) {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_FLAGS;
  return posix::errorOf(
      ::setattrlistat(place.folder.get(), place.name.c_str(), &which, &flags, sizeof flags, FSOPT_NOFOLLOW));
}

/// Reads and writes the flags of one open item.
int toggle(int item, bool immutable) {
  struct stat found {};
  if (::fstat(item, &found) != 0) return errno;
  if (const int obstacle = obstacleToLocking(found, ::geteuid() == 0)) return obstacle;
  const bool isLocked = (found.st_flags & UF_IMMUTABLE) != 0;
  return isLocked == immutable ? 0 : posix::errorOf(::fchflags(item, found.st_flags ^ UF_IMMUTABLE));
}

bool cannotBeOpened(int error) { return error == EACCES || error == EOPNOTSUPP; }

int setFlag(const std::string& path, bool immutable) {
  Item item;
  if (const int error = find(path, item)) return error;
  if (item.isLocked() == immutable) return 0;
  if (const int obstacle = obstacleToLocking(item.status, ::geteuid() == 0)) return obstacle;
  const posix::UniqueFd opened(posix::openItself(item.place.folder.get(), item.place.name.c_str()));
  if (opened) return toggle(opened.get(), immutable);
  if (!cannotBeOpened(errno) || ::geteuid() == 0) return errno;
  return writeFlagsByName(item.place, item.status.st_flags ^ UF_IMMUTABLE);
}

}  // namespace

platform::Status MacItemLocks::setImmutable(const std::string& path, bool immutable) {
  const posix::RightsForPaths rights(users_, {path});
  const int error = rights.ok() || rights.arePlacesOnly() ? setFlag(path, immutable) : EPERM;
  return posix::statusOf(immutable ? FileOperation::Lock : FileOperation::Unlock, error, path);
}

std::optional<bool> MacItemLocks::isImmutable(const std::string& path) const {
  Item item;
  return find(path, item) == 0 ? std::optional(item.isLocked()) : std::nullopt;
}

}  // namespace qm::macos
