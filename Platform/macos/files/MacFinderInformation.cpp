// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacFinderInformation.h"

#include <sys/xattr.h>

#include <array>
#include <cerrno>

#include "Platform/macos/files/MacFileReferences.h"
#include "Platform/posix/FileMessages.h"

namespace qm::macos {
namespace {

using posix::FileOperation;
using Information = std::array<unsigned char, 32>;

// The word stands with its higher byte first, whatever the processor.
constexpr std::size_t kHigh = 8;
constexpr std::size_t kLow = 9;

/// Without the attribute all of it is 0. Returns 0 or an error number.
int readInformation(const std::string& item, Information& information) {
  const ssize_t size =
      ::getxattr(item.c_str(), XATTR_FINDERINFO_NAME, information.data(), information.size(), 0, XATTR_NOFOLLOW);
  if (size < 0) return errno == ENOATTR ? 0 : errno;
  return static_cast<std::size_t>(size) == information.size() ? 0 : EINVAL;
}

std::uint16_t flagsIn(const Information& information) {
  return static_cast<std::uint16_t>((information[kHigh] << 8U) | information[kLow]);
}

int writeFlags(const std::string& item, std::uint16_t flags) {
  Information information{};
  if (const int error = readInformation(item, information)) return error;
  if (flagsIn(information) == flags) return 0;
  information[kHigh] = static_cast<unsigned char>(flags >> 8U);
  information[kLow] = static_cast<unsigned char>(flags & 0xffU);
  return posix::errorOf(
      ::setxattr(item.c_str(), XATTR_FINDERINFO_NAME, information.data(), information.size(), 0, XATTR_NOFOLLOW));
}

}  // namespace

std::optional<std::uint16_t> MacFinderInformation::finderFlags(const platform::FileReference& reference) const {
  const NumberedItem* const item = NumberedItem::in(reference);
  Information information{};
  if (item == nullptr || readInformation(item->handle(), information) != 0) return std::nullopt;
  return flagsIn(information);
}

platform::Status MacFinderInformation::setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) {
  const NumberedItem* const item = NumberedItem::in(reference);
  if (item == nullptr) return posix::statusOf(FileOperation::Label, ENOENT, "");
  return posix::statusOf(FileOperation::Label, writeFlags(item->handle(), flags), item->path().value_or(""));
}

}  // namespace qm::macos
