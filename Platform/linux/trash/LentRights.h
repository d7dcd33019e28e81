// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "Platform/posix/FileError.h"

namespace qm::linux_ {

inline constexpr mode_t kPermissions = 07777;
/// With these bits a program runs with the rights of its file's owner or group.
inline constexpr mode_t kLendingBits = S_ISUID | S_ISGID;

/// Whether a file has capabilities, which lend rights as well. A volume without such attributes has none. Returns 0 and
/// sets `found`, or returns an error number.
int lookForCapabilities(int item, bool& found);
int dropCapabilities(int item);

/// Returns why root would refuse to put the item of a descriptor back to its origin for the user whose Trash it is in.
/// Changes nothing. ENODEV: the item is or contains a device. ENOTSUP: it is neither a file nor a folder. EBUSY: it
/// contains a mounted volume. EMLINK: a file of the item has names outside it, and belongs to somebody else or would
/// have to be changed.
posix::FileError obstacleToPuttingBack(int item, uid_t person);

/// Removes from an item, and from everything in it, the bits and capabilities that lend rights. Files with several
/// names that are not the user's are not changed (EMLINK). Idempotent.
posix::FileError dropLentRights(int item, uid_t person);

}  // namespace qm::linux_
