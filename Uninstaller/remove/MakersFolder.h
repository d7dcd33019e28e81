#pragma once

#include <string>

#include "Uninstaller/remove/RememberedRun.h"

namespace qm::removal {

/// Looks at the folder at a path. Null where there is none; a link is none. Returns 0 or an error number.
int lookAt(const std::string& path, std::optional<RememberedFolder>& folder);

/// Makes the folder again where nothing has its name, and gives it owner and mode where the process may. Returns 0,
/// EEXIST or another error number. For root nobody can put something else in its place meanwhile, and the way to it
/// leads through nobody else's links.
int makeAgain(const RememberedFolder& folder);

/// When what was in the folder is there again: gives it the time of its last change, and takes away what a process has
/// left beside it that was ended while it made it. Without a folder nothing happens. Returns 0 or an error number.
int finish(const RememberedFolder& folder);

}  // namespace qm::removal
