// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/linux/archives/ArchiveRun.h"

namespace qm::linux_ {

/// Unpacks a zip archive into a folder. Both paths are absolute, and links to both are followed. A missing folder is
/// created, with its parents, and gets its name only when everything is in it: after a failure nothing is there. An
/// existing folder is merged with the archive, and what was unpacked before a failure stays. The first item that cannot
/// be unpacked, or would leave the folder (ExtractionFolder.h), ends the run.
platform::Status unpackArchive(const std::string& archive, const std::string& folder, const ArchiveRun& run);

}  // namespace qm::linux_
