// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/LinuxFinderInformation.h"

#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/xattr.h>

#include <array>
#include <cerrno>
#include <string>

#include "Platform/linux/desktop/HeldItem.h"
#include "Platform/posix/FileMessages.h"

namespace qm::linux_ {
namespace {

using Information = std::array<unsigned char, 32>;
constexpr std::size_t kFlags = 8;

constexpr unsigned long kHfsPlus = 0x482b;  // HFSX has the same number

const char* attributeAt(const std::string& item) {
  struct statfs volume {};
  const bool known = ::statfs(item.c_str(), &volume) == 0;
  return finderAttributeOn(known ? static_cast<unsigned long>(volume.f_type) : 0);
}

/// All zeros if the item has none. Returns 0 or an error number.
int read(const std::string& item, Information& information) {
  information.fill(0);
  const ssize_t size = ::getxattr(item.c_str(), attributeAt(item), information.data(), information.size());
  if (size < 0) return errno == ENODATA ? 0 : errno;
  return static_cast<std::size_t>(size) == information.size() ? 0 : EINVAL;
}

std::uint16_t flagsIn(const Information& information) {
  return static_cast<std::uint16_t>((information[kFlags] << 8U) | information[kFlags + 1]);
}

int write(const std::string& item, std::uint16_t flags) {
  Information information{};
  if (const int error = read(item, information)) return error;
  if (flagsIn(information) == flags) return 0;
  information[kFlags] = static_cast<unsigned char>(flags >> 8U);
  information[kFlags + 1] = static_cast<unsigned char>(flags & 0xffU);
  return posix::errorOf(::setxattr(item.c_str(), attributeAt(item), information.data(), information.size(), 0));
}

}  // namespace

const char* finderAttributeOn(unsigned long volumeType) {
  return volumeType == kHfsPlus ? "osx.com.apple.FinderInfo" : "user.com.apple.FinderInfo";
}

std::optional<std::uint16_t> LinuxFinderInformation::finderFlags(const platform::FileReference& reference) const {
  const HeldItem* item = heldItem(reference);
  Information information{};
  if (item == nullptr || read(item->handle(), information) != 0) return std::nullopt;
  return flagsIn(information);
}

platform::Status LinuxFinderInformation::setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) {
  const HeldItem* item = heldItem(reference);
  if (item == nullptr) return posix::statusOf(posix::FileOperation::Label, ENOENT, "");
  return posix::statusOf(posix::FileOperation::Label, write(item->handle(), flags), item->path().value_or(""));
}

}  // namespace qm::linux_
