// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cstdint>

#include "Platform/posix/ItemPath.h"

/// Reads and sets the flags of items. Functions of type int return 0 or an error number.
namespace qm::macos {

std::uint32_t flagsIn(const struct stat& item);
int changeFlags(int item, std::uint32_t flags);
/// Needs no permission to read the item. Does not follow a link.
int changeFlagsByName(const posix::Place& place, std::uint32_t flags);

}  // namespace qm::macos
