// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Packages.h"

namespace qm::linux_ {

/// A package is a folder with a bundle's extension (in any letter case), or one that contains the file
/// Contents/Info.plist. Links are followed, as in `FileSystem::isDirectory`.
class BundlePackages : public platform::Packages {
 public:
  bool isFilePackage(const std::string& path) const override;
};

}  // namespace qm::linux_
