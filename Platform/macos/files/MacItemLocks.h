// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ItemLocks.h"
#include "Platform/Users.h"

namespace qm::macos {

/// The lock is the owner's immutable flag, which the Finder shows as "Locked". Root follows no link to an item that
/// could have been planted by somebody with fewer rights, and changes an item with the rights of whoever could put
/// another in its place. Where that is for root itself to do, it changes no file that has another name elsewhere.
class MacItemLocks final : public platform::ItemLocks {
 public:
  /// The users outlive it.
  explicit MacItemLocks(const platform::Users& users) : users_(users) {}

  platform::Status setImmutable(const std::string& path, bool immutable) override;
  std::optional<bool> isImmutable(const std::string& path) const override;

 private:
  const platform::Users& users_;
};

}  // namespace qm::macos
