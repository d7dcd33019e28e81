#include <unistd.h>

#include <array>
#include <climits>
#include <string>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/files/MountTable.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {

bool holdsMountPoint(int folder) {
  std::array<char, PATH_MAX> path{};
  const ssize_t length = ::readlink(pathOfDescriptor(folder).c_str(), path.data(), path.size());
  if (length <= 0 || static_cast<std::size_t>(length) == path.size()) return false;
  return linux_::MountTable().hasMountInside({path.data(), static_cast<std::size_t>(length)});
}

}  // namespace qm::posix
