#pragma once

#include <string>

#include "Uninstaller/remove/RememberedRun.h"

namespace qm::removal {

/// The folder at a path, as it is now. Null where there is none; a link is none.
std::optional<RememberedFolder> rememberedFolder(const std::string& path);

/// Makes the folder again where nothing has its name, and gives it owner and mode where the process may. Returns 0,
/// EEXIST or another error number. For root nobody can put something else in its place meanwhile, and the way to it
/// leads through nobody else's links.
int makeAgain(const RememberedFolder& folder);

/// Gives a folder that has been made again the time of its last change, when what was in it is there again.
void setTimeAgain(const RememberedFolder& folder);

}  // namespace qm::removal
