// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Packages.h"

namespace qm::macos {

/// As the Finder shows them.
class MacPackages final : public platform::Packages {
 public:
  bool isFilePackage(const std::string& path) const override;
};

}  // namespace qm::macos
