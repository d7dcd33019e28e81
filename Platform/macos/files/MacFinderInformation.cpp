// SPDX-License-Identifier: MIT
#include "Platform/macos/files/MacFinderInformation.h"

#include <sys/xattr.h>

#include <cerrno>

#include "Platform/macos/files/MacFileReferences.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/FinderBytes.h"
#include "Platform/posix/rights/RightsForPaths.h"

namespace qm::macos {
namespace {

using posix::FileOperation;
/// Reads the attribute of the item at a path. A link is not followed.
auto getterOf(const std::string& item) {
  return [item](unsigned char* bytes, std::size_t size) {
    const ssize_t found = ::getxattr(item.c_str(), XATTR_FINDERINFO_NAME, bytes, size, 0, XATTR_NOFOLLOW);
    if (found < 0 && errno == ENOATTR) errno = ENODATA;
    return found;
  };
}

auto setterOf(const std::string& item) {
  return [item](const unsigned char* bytes, std::size_t size) {
    return ::setxattr(item.c_str(), XATTR_FINDERINFO_NAME, bytes, size, 0, XATTR_NOFOLLOW);
  };
}

}  // namespace

std::optional<std::uint16_t> MacFinderInformation::finderFlags(const platform::FileReference& reference) const {
  const NumberedItem* const item = NumberedItem::in(reference);
  posix::FinderBytes bytes{};
  if (item == nullptr || posix::readFinderBytes(getterOf(item->handle()), bytes) != 0) return std::nullopt;
  return posix::finderFlagsIn(bytes);
}

platform::Status MacFinderInformation::setFinderFlags(const platform::FileReference& reference, std::uint16_t flags) {
  const NumberedItem* const item = NumberedItem::in(reference);
  const auto path = item == nullptr ? std::nullopt : item->path();
  if (!path) return posix::statusOf(FileOperation::Label, ENOENT, "");
  const posix::RightsForPaths rights(users_, {*path});
  const auto write = [&] { return posix::writeFinderFlags(getterOf(item->handle()), setterOf(item->handle()), flags); };
  return posix::statusOf(FileOperation::Label, rights.ok() ? write() : EPERM, *path);
}

}  // namespace qm::macos
