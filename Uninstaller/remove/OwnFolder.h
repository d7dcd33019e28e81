#pragma once

#include <sys/types.h>

#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::removal {

/// Opens a folder to name items in it, in which nobody but the user can put or remove anything. None on failure, see
/// `errno`: EPERM where others can.
posix::UniqueFd openOwnFolder(const std::string& path, uid_t user);

}  // namespace qm::removal
