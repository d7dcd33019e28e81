#pragma once

#include <string>

namespace qm::posix {

/// Makes a folder and the missing ones above it. A folder, or a link to one, that is there already is a
/// success; anything else in the way gives EEXIST or ENOTDIR. Answers 0 or an error number.
int makeFolders(const std::string& path);

}  // namespace qm::posix
