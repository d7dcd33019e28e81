#pragma once

#include "Platform/linux/privileges/helper/FileCommand.h"
#include "Platform/linux/privileges/helper/PrivilegedWork.h"

namespace qm::linux_ {

/// What mv, cp, rm, mkdir and touch mean, done with root's rights on items that are held by descriptors: whatever
/// others do to the folders on the way, the items that were checked are those that are changed.
///
///   mv     An existing folder at the destination means the place in it. A file or an empty folder there is replaced, a
///          full folder is not.
///   cp     The same, but folders are merged, and only where nobody but root can change anything in them. A link at the
///          destination is not written through.
///   rm     A whole tree, but no volume that is mounted in it. A missing item is a success.
///   mkdir  With the missing folders above.
///   touch  The date of an item; one with further names only where nobody else can change its folder. A missing item is
///   a
///          success.
///
/// On a kernel without Landlock, a folder that others than root can change is neither copied nor moved to another
/// volume.
PreparedWork prepareFileWork(const FileCommand& command);

}  // namespace qm::linux_
