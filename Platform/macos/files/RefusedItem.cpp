// SPDX-License-Identifier: MIT
#include <fcntl.h>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/FlagCalls.h"
#include "Platform/macos/files/SystemRefusal.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::macos {
namespace {

std::optional<unsigned> flagsOf(const std::string& path) {
  const auto found = posix::statusIn(AT_FDCWD, path.c_str());
  return found ? std::optional<unsigned>(flagsIn(*found)) : std::nullopt;
}

}  // namespace

RefusedItem refusedItemAt(const std::string& path) {
  return {path, flagsOf(path), flagsOf(foundation::deletingLastPathComponent(path)), posix::obstacleToRemoving(path)};
}

}  // namespace qm::macos
