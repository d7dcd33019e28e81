// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/FinderInformation.h"
#include "Platform/Users.h"

namespace qm::macos {

/// The Finder information as the extended attribute that the system shows it as. Root changes that of an item with the
/// rights of whoever could put another in its place.
class MacFinderInformation final : public platform::FinderInformation {
 public:
  /// The users outlive it.
  explicit MacFinderInformation(const platform::Users& users) : users_(users) {}

  std::optional<std::uint16_t> finderFlags(const platform::FileReference& reference) const override;
  platform::Status setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) override;

 private:
  const platform::Users& users_;
};

}  // namespace qm::macos
