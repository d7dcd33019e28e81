// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/FinderInformation.h"

namespace qm::macos {

/// The Finder information as the extended attribute that the system shows it as.
class MacFinderInformation final : public platform::FinderInformation {
 public:
  std::optional<std::uint16_t> finderFlags(const platform::FileReference& reference) const override;
  platform::Status setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) override;
};

}  // namespace qm::macos
