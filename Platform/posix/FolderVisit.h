// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>

#include "Platform/FileSystem.h"

namespace qm::posix {

/// Passes the entries of a folder with their types to `visit`. Uses one descriptor, and a system call per entry only if
/// the folder itself does not tell enough. Returns 0 or an error number; EACCES also for a folder that may be listed
/// but not searched.
int visitFolder(const std::string& path, platform::EntrySizes sizes,
                const std::function<void(const platform::DirectoryEntry&)>& visit);

/// The type of an item by its mode.
platform::FileType fileTypeOf(unsigned mode);

}  // namespace qm::posix
