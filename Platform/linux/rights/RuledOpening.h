// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Opens a folder to name items in it, as the system walks a path, which keeps to `rules` (RESOLVE_… of openat2). None
/// on failure, see `errno`; ENOSYS where the system knows no such rules.
posix::UniqueFd openFolderByRules(const std::string& path, std::uint64_t rules);

}  // namespace qm::linux_
