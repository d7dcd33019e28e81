// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacPackages.h"

#include <cstdlib>
#include <memory>

#include "Platform/foundation/Utf8.h"
#include "Platform/posix/ItemPath.h"

namespace qm::macos {

bool MacPackages::isFilePackage(const std::string& path) const {
  if (posix::pathError(path) != 0) return false;
  const std::unique_ptr<char, decltype(&std::free)> found(::realpath(path.c_str(), nullptr), std::free);
  const std::string item = found ? found.get() : "";
  return !item.empty() && foundation::isUtf8(item) && isPackage(item);
}

}  // namespace qm::macos
