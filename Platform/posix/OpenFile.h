#pragma once

#include <memory>
#include <string>

#include "Platform/FileSystem.h"

namespace qm::posix {

/// Opens an existing regular file for writing, at its beginning and without emptying it; null when there
/// is none, the last component is a link, or it may not be written. Never waits.
std::shared_ptr<platform::FileHandle> openFileForWriting(const std::string& path);

}  // namespace qm::posix
