// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::platform {

/// Which folders people are shown as one item.
class Packages {
 public:
  virtual ~Packages() = default;

  /// The path leads to a folder that the system's file manager shows as one item (an application, for example): as the
  /// Finder shows it, where there is one. Where file managers know no packages, a bundle by its name or its contents is
  /// one. Links are followed; false for a missing item and for anything but a folder. Any thread.
  virtual bool isFilePackage(const std::string& path) const = 0;
};

}  // namespace qm::platform
