// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::posix {

/// A new hidden name, short enough for every file system. It protects nothing: everybody who may list the folder sees
/// it.
std::string temporaryName();

}  // namespace qm::posix
