#pragma once

#include <functional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Opens a folder of a folder for reading, without following a link and without leaving the volume. None
/// on failure, see `errno`.
posix::UniqueFd openFolderIn(int parent, const std::string& name);

/// Calls `visit` for each entry with the folder and the name until it answers an error number; that one,
/// or the one that ended the listing, is the answer. `folder` may be open for its place only.
int forEachEntry(int folder, const std::function<int(int, const std::string&)>& visit);

/// The folder's place as the system shows it. Empty where it is not reached any more.
std::string shownPath(int fd);

}  // namespace qm::linux_
