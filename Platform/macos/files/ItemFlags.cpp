// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/MacServices.h"
#include "Platform/macos/SystemCalls.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/macos/files/TrashParts.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/rights/HeldPlace.h"
#include "Platform/posix/rights/RightsForPaths.h"
#include "Platform/posix/rights/Writers.h"

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

std::optional<unsigned> flagsOf(const std::string& path) {
  const auto found = posix::statusIn(AT_FDCWD, path.c_str());
  return found ? std::optional<unsigned>(flagsIn(*found)) : std::nullopt;
}

class MacItemLocks final : public platform::ItemLocks {
 public:
  explicit MacItemLocks(const platform::Users& users) : users_(users) {}

  platform::Status setImmutable(const std::string& path, bool immutable) override {
    const posix::RightsForPaths rights(users_, {path});
    const int error = rights.mayUsePlaces() ? setFlag(path, immutable) : EPERM;
    return posix::statusOf(immutable ? FileAction::Lock : FileAction::Unlock, error, path);
  }
  std::optional<bool> isImmutable(const std::string& path) const override {
    posix::HeldItem held;
    return find(path, held) == 0 ? std::optional(isLocked(held.status)) : std::nullopt;
  }

 private:
  const platform::Users& users_;
};

}  // namespace

std::unique_ptr<platform::ItemLocks> makeItemLocks(const platform::Users& users) {
  return std::make_unique<MacItemLocks>(users);
}

RefusedItem refusedItemAt(const std::string& path) {
  return {path, flagsOf(path), flagsOf(foundation::deletingLastPathComponent(path)), posix::obstacleToRemoving(path)};
}

}  // namespace qm::macos
