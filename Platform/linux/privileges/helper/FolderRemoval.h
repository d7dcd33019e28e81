// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/linux/privileges/helper/PrivilegedWork.h"

namespace qm::linux_ {

/// Removes a folder with root's rights if it contains only folders and the desktop's housekeeping files, as root sees
/// it: what the user may not list is checked as well. Anything else stays, and the folder with it.
PreparedWork prepareFolderRemoval(const std::string& path);

}  // namespace qm::linux_
