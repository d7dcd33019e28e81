// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacPropertyLists.h"

#include "Platform/posix/SmallFile.h"

std::optional<qm::platform::PropertyList> qm::macos::MacPropertyLists::read(const std::string& path) const {
  constexpr std::size_t kLargest = std::size_t{16} * 1024 * 1024;
  const std::optional<std::string> bytes = posix::readSmallFile(path, kLargest);
  return bytes ? parsedPropertyList(*bytes) : std::nullopt;
}
