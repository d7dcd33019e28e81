// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::macos {

/// The name that an item tries to get in the Trash, for the first, second, third time …: "a.txt", "a 2.txt", "a 3.txt".
std::string trashName(const std::string& name, int attempt);

}  // namespace qm::macos
