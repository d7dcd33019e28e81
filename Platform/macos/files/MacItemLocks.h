// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ItemLocks.h"
#include "Platform/Users.h"

namespace qm::macos {

/// The lock is the owner's immutable flag, which the Finder shows as "Locked". As root, the path is walked by the rules
/// of `pinPath`, and an item is changed with the rights of whoever could put another in its place (see
/// `RightsForPaths`), unless `obstacleToLocking` forbids the change.
class MacItemLocks final : public platform::ItemLocks {
 public:
  /// The users must outlive this object.
  explicit MacItemLocks(const platform::Users& users) : users_(users) {}

  platform::Status setImmutable(const std::string& path, bool immutable) override;
  std::optional<bool> isImmutable(const std::string& path) const override;

 private:
  const platform::Users& users_;
};

}  // namespace qm::macos
