// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/privileges/helper/FileCommand.h"
#include "Platform/linux/privileges/helper/PrivilegedWork.h"

namespace qm::linux_ {

/// Does the work of mv, cp, rm, mkdir and touch with root's rights on items that are held by descriptors. Whatever
/// others do to the folders on the way, the items that were checked are those that are changed.
///
///   mv     If the destination is a folder, the item goes into it under its own name. A file or an empty folder that
///          already has the final path is replaced, a folder with contents is not.
///   cp     The same, but folders are merged, and only if nobody but root can change anything in them. A link at the
///          destination is not written through.
///   rm     Removes a whole tree, but no volume that is mounted in it. A missing item is a success.
///   mkdir  With -p, creates missing parent folders as well. Without it, does nothing if one is missing. An existing
///          folder is a success.
///   touch  Sets the date of an item. A file with several names (hard links) is refused if users other than root can
///          change its folder. A missing item is a success.
///
/// On a kernel without Landlock, nothing is moved to another volume, and an item is copied only if nobody but root can
/// change it or the folder that it is in.
PreparedWork prepareFileWork(const FileCommand& command);

}  // namespace qm::linux_
