// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/LinuxFinderInformation.h"

#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/xattr.h>

#include <string>

#include "Platform/linux/desktop/ItemOfReference.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/FinderBytes.h"

namespace qm::linux_ {
namespace {

constexpr unsigned long kHfsPlus = 0x482b;  // HFSX has the same number

const char* attributeAt(const std::string& item) {
  struct statfs volume {};
  const bool known = ::statfs(item.c_str(), &volume) == 0;
  return finderAttributeOn(known ? static_cast<unsigned long>(volume.f_type) : 0);
}

auto getterOf(const std::string& item) {
  return [item](unsigned char* bytes, std::size_t size) {
    return ::getxattr(item.c_str(), attributeAt(item), bytes, size);
  };
}

auto setterOf(const std::string& item) {
  return [item](const unsigned char* bytes, std::size_t size) {
    return ::setxattr(item.c_str(), attributeAt(item), bytes, size, 0);
  };
}

}  // namespace

const char* finderAttributeOn(unsigned long volumeType) {
  return volumeType == kHfsPlus ? "osx.com.apple.FinderInfo" : "user.com.apple.FinderInfo";
}

std::optional<std::uint16_t> LinuxFinderInformation::finderFlags(const platform::FileReference& reference) const {
  const ItemOfReference* item = itemOf(reference);
  posix::FinderBytes bytes{};
  if (item == nullptr || posix::readFinderBytes(getterOf(item->handle()), bytes) != 0) return std::nullopt;
  return posix::finderFlagsIn(bytes);
}

platform::Status LinuxFinderInformation::setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) {
  const ItemOfReference* item = itemOf(reference);
  if (item == nullptr) return posix::statusOf(posix::FileAction::Label, ENOENT, "");
  const int error = posix::writeFinderFlags(getterOf(item->handle()), setterOf(item->handle()), flags);
  return posix::statusOf(posix::FileAction::Label, error, item->path().value_or(""));
}

}  // namespace qm::linux_
