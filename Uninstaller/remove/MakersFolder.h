// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Uninstaller/remove/RunRecord.h"

namespace qm::removal {

/// Examines the folder at a path. Null if there is none; a link does not count. Returns 0 or an error number.
int lookAt(const std::string& path, std::optional<RememberedFolder>& folder);

/// Creates the folder again if nothing has its name, and sets owner and mode as far as the process may. Returns 0,
/// EEXIST or another error number. As root, nobody can put something else in its place meanwhile, and no link of
/// another user on the path is followed.
int makeAgain(const RememberedFolder& folder);

/// Called when the contents of the folder are back: sets the time of its last change, and removes what an interrupted
/// process that was creating it has left beside it. Does nothing without a folder. Returns 0 or an error number.
int finish(const RememberedFolder& folder);

}  // namespace qm::removal
