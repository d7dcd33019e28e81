// SPDX-License-Identifier: MIT
#include <sys/stat.h>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/SystemRefusal.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/rights/HeldPlace.h"

namespace qm::macos {
namespace {

std::optional<unsigned> flagsOf(const std::string& path) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0 ? std::optional<unsigned>(found.st_flags) : std::nullopt;
}

/// 0 if the folder cannot be opened, because then nothing shows that permissions forbid the move.
int obstacleAt(const std::string& path) {
  posix::Place place;
  return posix::openHeldPlace(path, place) == 0 ? posix::obstacleToRemovingEntry(place.folder.get(), place.name) : 0;
}

}  // namespace

RefusedItem refusedItemAt(const std::string& path) {
  return {path, flagsOf(path), flagsOf(foundation::deletingLastPathComponent(path)), obstacleAt(path)};
}

}  // namespace qm::macos
