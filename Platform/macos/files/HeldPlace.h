// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Trash.h"
#include "Platform/posix/ItemPath.h"

namespace qm::macos {

/// Opens the folder of an item to name it there. For root nobody with fewer rights can have led the way elsewhere, also
/// where missing folders are made. Returns 0 or an error number. `refusal` is the reason where this program refuses the
/// path itself, for the console.
int openHeldPlace(const std::string& path, posix::Place& place, std::string* refusal = nullptr,
                  platform::MissingFolders missing = platform::MissingFolders::Fail);

}  // namespace qm::macos
