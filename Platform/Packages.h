#pragma once

#include <string>

namespace qm::platform {

/// Which folders the desktop shows as one item.
class Packages {
 public:
  virtual ~Packages() = default;

  /// The path leads to a folder that is a bundle (an application, for example). Any thread.
  virtual bool isFilePackage(const std::string& path) const = 0;
};

}  // namespace qm::platform
