// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Opens a folder by its path. The kernel walks the path by `rules` (RESOLVE_… of openat2). The descriptor serves only
/// for calls that take it together with the name of an item in the folder. None on failure, see `errno`; ENOSYS if the
/// kernel has no openat2.
posix::UniqueFd openFolderByRules(const std::string& path, std::uint64_t rules);

}  // namespace qm::linux_
