// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/macos/files/TrashCalls.h"

namespace qm::macos {

/// The error number that an error of the frameworks stands for.
int errorNumberOf(long cocoaCode, long posixCode);

/// Why an item could not go to the Trash, or come back from it.
platform::Status trashFailure(int error, const std::string& path);
platform::Status trashFailure(const TrashAnswer& answer, const std::string& path);

}  // namespace qm::macos
