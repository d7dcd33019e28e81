// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/macos/files/TrashCalls.h"

namespace qm::macos {

/// The error number that an error of the frameworks stands for.
int errorNumberOf(const TrashAnswer& answer);

/// Why an item could not go to the Trash, or come back from it, when a call of the system's has failed. Where the
/// system keeps the item whatever the permissions say, the sentence names that.
platform::Status trashFailure(int error, const std::string& path);
platform::Status trashFailure(const TrashAnswer& answer, const std::string& path);

/// The same when this program has refused it, for a reason of its own: no call of the system's has.
platform::Status trashRefusal(int error, const std::string& reason, const std::string& path);

}  // namespace qm::macos
