// SPDX-License-Identifier: MIT
#include <linux/magic.h>
#include <sys/vfs.h>

#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {

bool isUserSpaceFileSystem(int folder) {
  struct statfs found {};
  return ::fstatfs(folder, &found) != 0 || found.f_type == FUSE_SUPER_MAGIC;
}

// What an access list grants shows in the mode: its mask takes the place of the group's bits.
bool hasListThatGrantsWriting(int /*folder*/) { return false; }

}  // namespace qm::posix
