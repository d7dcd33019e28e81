// SPDX-License-Identifier: MIT
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <climits>

#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {

bool isUserSpaceFileSystem(int folder) {
  struct statfs found {};
  return ::fstatfs(folder, &found) != 0 || found.f_type == FUSE_SUPER_MAGIC;
}

// What an access list grants shows in the mode: its mask takes the place of the group's bits.
bool hasListThatGrantsWriting(int /*folder*/) { return false; }

std::optional<std::string> readLink(int item, int /*folder*/, const std::string& /*name*/) {
  std::array<char, PATH_MAX> text{};
  const ssize_t length = ::readlinkat(item, "", text.data(), text.size());
  if (length < 0) return std::nullopt;
  return std::string(text.data(), static_cast<std::size_t>(length));
}

}  // namespace qm::posix
