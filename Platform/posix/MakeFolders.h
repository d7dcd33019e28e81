// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::posix {

/// Creates a folder and the missing ones above it. An existing folder, or a link to one, is a success; anything else in
/// the way gives EEXIST or ENOTDIR. Returns 0 or an error number.
int makeFolders(const std::string& path);

}  // namespace qm::posix
