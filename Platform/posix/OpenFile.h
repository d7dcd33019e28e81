// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/FileSystem.h"

namespace qm::posix {

/// Opens an existing regular file for writing, at its beginning and without truncating it. Null if there is none, if
/// the last component is a link, or if it may not be written. Never blocks.
std::shared_ptr<platform::FileHandle> openFileForWriting(const std::string& path);

}  // namespace qm::posix
