#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/linux/archives/ArchiveRun.h"
#include "Platform/linux/archives/ToolArguments.h"

namespace qm::linux_ {

/// Makes a zip archive of an item; both paths are absolute, and a link that `item` itself is, is followed. A file is
/// put into it by its name; a folder with `keepParent` as the folder, otherwise its contents alone. Links below are
/// kept as links. The archive is written beside its place under a name of its own and takes the place when it is
/// complete, that of an older archive too, whose permissions it gets; after a failure everything is as before. An
/// archive that lies in the folder is not put into itself, and one that would take the place of the file that goes into
/// it is a failure.
///
/// Anything that cannot be read is a failure. What holds nothing that could be kept (a FIFO, a socket, a device) or has
/// vanished meanwhile is left out and told to `run`.
platform::Status packItem(const std::string& item, const std::string& archive, KeepParent keepParent,
                          const ArchiveRun& run);

}  // namespace qm::linux_
