// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Packages.h"

namespace qm::macos {

/// As the Finder shows them.
class MacPackages final : public platform::Packages {
 public:
  bool isFilePackage(const std::string& path) const override;
};

/// The system's word on an item, whose path is UTF-8 and has no links on the way. False for what is not there.
bool isPackage(const std::string& path);

}  // namespace qm::macos
