// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::platform {

/// Which folders are shown to the user as one item.
class Packages {
 public:
  virtual ~Packages() = default;

  /// The path leads to a folder that is shown as one item, an application for example. On a Mac the Finder's view
  /// decides. Where file managers know no packages, a folder counts as a package if it has the name or the contents of
  /// a bundle. Links are followed; false for a missing item and for anything but a folder. Any thread.
  virtual bool isFilePackage(const std::string& path) const = 0;
};

}  // namespace qm::platform
