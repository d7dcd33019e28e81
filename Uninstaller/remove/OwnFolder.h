// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::removal {

/// Opens a folder, with O_PATH, in which nobody but the user can create or remove anything. None on failure, see
/// `errno`: EPERM if others can.
posix::UniqueFd openOwnFolder(const std::string& path, uid_t user);

}  // namespace qm::removal
