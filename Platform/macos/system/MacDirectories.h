// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/StandardDirectories.h"

namespace qm::macos {

class MacDirectories final : public platform::StandardDirectories {
 public:
  std::vector<std::string> search(platform::StandardDirectory directory, platform::DomainMask domains) const override;
  std::string temporaryDirectory() const override;
};

}  // namespace qm::macos
