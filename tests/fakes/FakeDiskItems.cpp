// SPDX-License-Identifier: MIT
#include "Platform/foundation/PathComponents.h"
#include "tests/fakes/DiskPlace.h"
#include "tests/fakes/FakeDisk.h"

// Items that are held directly, wherever they are.
namespace qm::testing {

std::shared_ptr<DiskNode> FakeDisk::item(const std::string& path) {
  const Lock lock = settled();
  const std::string itself = path == "/" ? path : foundation::appendingPathComponent(path, "");
  return find(itself, Follow::No, Access::User).item;
}

std::optional<std::string> FakeDisk::pathOf(const DiskNode& item) {
  const Lock lock = settled();
  if (!item.isWithin(*root_)) return std::nullopt;
  return item.path();
}

std::optional<std::uint16_t> FakeDisk::finderFlags(const DiskNode& item) {
  const Lock lock = settled();
  if (item.isLink()) return 0;
  return may(item.readable, Access::User) ? std::optional(item.finderFlags) : std::nullopt;
}

int FakeDisk::setFinderFlags(DiskNode& item, std::uint16_t flags) {
  const Lock lock = settled();
  if (item.isLink()) return EPERM;
  if (const int error = changeError(item); error != 0) return error;
  item.finderFlags = flags;
  return 0;
}

}  // namespace qm::testing
