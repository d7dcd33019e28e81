// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/FinderInformation.h"
#include "Platform/Users.h"

namespace qm::macos {

/// Finder information, which the system presents as an extended attribute. Root changes it with the rights of whoever
/// could put another item in the place of this one (see `RightsForPaths`), unless `obstacleToChanging` forbids it.
class MacFinderInformation final : public platform::FinderInformation {
 public:
  /// The users must outlive this object.
  explicit MacFinderInformation(const platform::Users& users) : users_(users) {}

  std::optional<std::uint16_t> finderFlags(const platform::FileReference& reference) const override;
  platform::Status setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) override;

 private:
  const platform::Users& users_;
};

}  // namespace qm::macos
