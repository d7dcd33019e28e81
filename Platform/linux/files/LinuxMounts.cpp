// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <array>
#include <climits>
#include <string>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/files/MountTable.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {

std::string shownPath(int descriptor) {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = ::readlink(pathOfDescriptor(descriptor).c_str(), path.data(), path.size());
  if (length <= 0 || static_cast<std::size_t>(length) == path.size() || path[0] != '/') return {};
  return {path.data(), static_cast<std::size_t>(length)};
}

bool holdsMountPoint(int folder) {
  const std::string path = shownPath(folder);
  return !path.empty() && linux_::MountTable().containsMountPoint(path);
}

}  // namespace qm::posix
