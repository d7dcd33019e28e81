#pragma once

#include <string>

#include "Platform/Packages.h"

namespace qm::linux_ {

/// A package is a folder with an extension that bundles have (in any letter case), or one that holds
/// the file Contents/Info.plist. Links are followed, as in `FileSystem::isDirectory`.
class BundlePackages : public platform::Packages {
 public:
  bool isFilePackage(const std::string& path) const override;
};

}  // namespace qm::linux_
