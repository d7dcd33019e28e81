// SPDX-License-Identifier: MIT
#include "Platform/linux/system/PlistDocument.h"

#include <plist/plist.h>

#include <cstddef>
#include <cstdint>

#include "Platform/linux/system/PlistStructure.h"
#include "Platform/posix/SmallFile.h"

namespace qm::linux_ {
namespace {

constexpr std::size_t kLargestFile = std::size_t{1024} * 1024;

PlistDocument parseBinary(const std::string& bytes) {
  plist_t node = nullptr;
  if (hasSoundBinaryStructure(bytes)) {
    ::plist_from_bin(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
  }
  return PlistDocument(node);
}

PlistDocument parseText(const std::string& bytes) {
  plist_t node = nullptr;
  if (hasModestTextStructure(bytes)) {
    ::plist_from_xml(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
  }
  return PlistDocument(node);
}

}  // namespace

void FreePlistNode::operator()(void* node) const { ::plist_free(node); }

PlistDocument readPlistDocument(const std::string& path) {
  const auto bytes = posix::readSmallFile(path, kLargestFile);
  if (!bytes) return nullptr;
  return isBinaryPropertyList(*bytes) ? parseBinary(*bytes) : parseText(*bytes);
}

}  // namespace qm::linux_
