#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include "Platform/posix/FileError.h"

namespace qm::linux_ {

inline constexpr mode_t kPermissions = 07777;
/// With these a program runs with the rights of its file's owner or group.
inline constexpr mode_t kLendingBits = S_ISUID | S_ISGID;

/// Whether a file has capabilities, which lend rights, too. A volume without such attributes has none. Returns 0 and
/// `found`, or an error number.
int lookForCapabilities(int item, bool& found);
int dropCapabilities(int item);

/// Why root would not put the item of a descriptor back where it came from for the person in whose Trash it is. Changes
/// nothing. It is another kind of thing than a file or a folder (ENOTSUP), holds a device (ENODEV), a mounted volume
/// (EBUSY), or a file with names outside the item that is somebody else's or would have to be changed (EMLINK).
posix::FileError obstacleToPuttingBack(int item, uid_t person);

/// Takes from an item, and from all that is in it, what lends rights. Files with several names that are not the
/// person's are not touched (EMLINK). Done twice, the result is the same.
posix::FileError dropLentRights(int item, uid_t person);

}  // namespace qm::linux_
