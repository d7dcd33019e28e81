// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/Status.h"
#include "Platform/macos/files/TrashCalls.h"

namespace qm::macos {

/// The error number that an error of the frameworks stands for.
int errorNumberOf(const TrashAnswer& answer);

/// The failure of a move to the Trash or back from it, if a system call failed. If a protection of the system keeps the
/// item, the sentence names it.
platform::Status trashFailure(int error, const std::string& path);
platform::Status trashFailure(const TrashAnswer& answer, const std::string& path);

/// The same if it was the Trash that could not be used.
platform::Status trashFolderFailure(int error, const std::string& path, const std::string& trash);

/// The same if no system call failed, but this program itself refused the move.
platform::Status trashRefusal(int error, const std::string& reason, const std::string& path);

}  // namespace qm::macos
