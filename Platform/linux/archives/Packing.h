// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/linux/archives/ArchiveRun.h"
#include "Platform/linux/archives/ToolArguments.h"

namespace qm::linux_ {

/// Makes a zip archive of an item. Both paths are absolute; if `item` itself is a link, it is followed. A file is
/// stored under its name. A folder is stored as a folder if `keepParent` is set, otherwise only its contents. Links
/// below are kept as links. The archive is written beside its destination under a temporary name and renamed when it is
/// complete. It may replace an older archive, whose permissions it gets. After a failure everything is as before. An
/// archive inside the folder does not contain itself; an archive that would replace the packed file is a failure.
///
/// If anything cannot be read, the run fails. Items without contents that could be kept (a FIFO, a socket, a device)
/// and items that have disappeared meanwhile are left out and reported to `run`.
platform::Status packItem(const std::string& item, const std::string& archive, KeepParent keepParent,
                          const ArchiveRun& run);

}  // namespace qm::linux_
