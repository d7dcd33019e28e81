// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/ItemLocks.h"

namespace qm::macos {

/// The lock is the owner's immutable flag, which the Finder shows as "Locked". Root follows no link to an item that
/// could have been planted by somebody with fewer rights.
class MacItemLocks final : public platform::ItemLocks {
 public:
  platform::Status setImmutable(const std::string& path, bool immutable) override;
  std::optional<bool> isImmutable(const std::string& path) const override;
};

}  // namespace qm::macos
