// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Packages.h"

namespace qm::macos {

/// Packages as the Finder shows them.
class MacPackages final : public platform::Packages {
 public:
  bool isFilePackage(const std::string& path) const override;
};

/// Whether the system treats an item as a package. The path must be UTF-8 and contain no links. False if nothing is
/// there.
bool isPackage(const std::string& path);

}  // namespace qm::macos
