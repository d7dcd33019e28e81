// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacItemLocks.h"

#include <unistd.h>

#include <cerrno>

#include "Platform/macos/files/FlagCalls.h"
#include "Platform/macos/files/ItemRules.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::macos {
namespace {

using posix::FileAction;

bool isLocked(const struct stat& item) { return !S_ISLNK(item.st_mode) && (flagsIn(item) & kUserImmutable) != 0; }

int find(const std::string& path, posix::HeldItem& held) {
  if (const int error = posix::holdItem(path, held)) return error;
  return held.errorUnlessFound();
}

bool cannotBeOpened(const posix::HeldItem& held) {
  return !held.item && (held.openError == EACCES || S_ISSOCK(held.status.st_mode));
}

/// An item that cannot be opened is changed by its name, which may refer to another item by now. So root does not do
/// that, because somebody could make it change another user's item.
int setFlag(const std::string& path, bool immutable) {
  const bool isRoot = ::geteuid() == 0;
  posix::HeldItem held;
  if (const int error = find(path, held)) return error;
  if (isLocked(held.status) == immutable) return 0;
  if (const int obstacle = obstacleToLocking(held.status, isRoot)) return obstacle;
  const std::uint32_t flags = flagsIn(held.status) ^ kUserImmutable;
  if (held.item) return changeFlags(held.item.get(), flags);
  if (isRoot || !cannotBeOpened(held)) return held.openError != 0 ? held.openError : EOPNOTSUPP;
  return changeFlagsByName(held.place, flags);
}

}  // namespace

platform::Status MacItemLocks::setImmutable(const std::string& path, bool immutable) {
  const posix::RightsForPaths rights(users_, {path});
  const int error = rights.mayUsePlaces() ? setFlag(path, immutable) : EPERM;
  return posix::statusOf(immutable ? FileAction::Lock : FileAction::Unlock, error, path);
}

std::optional<bool> MacItemLocks::isImmutable(const std::string& path) const {
  posix::HeldItem held;
  return find(path, held) == 0 ? std::optional(isLocked(held.status)) : std::nullopt;
}

}  // namespace qm::macos
