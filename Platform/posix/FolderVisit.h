#pragma once

#include <functional>
#include <string>

#include "Platform/FileSystem.h"

namespace qm::posix {

/// Hands out the entries of a folder with what each is, from one descriptor: a call for each entry only where the
/// folder itself does not tell enough. Answers 0 or an error number, EACCES also for a folder that may be listed
/// but not searched.
int visitFolder(const std::string& path, platform::EntrySizes sizes,
                const std::function<void(const platform::DirectoryEntry&)>& visit);

/// What an item is by its mode.
platform::FileType fileTypeOf(unsigned mode);

}  // namespace qm::posix
