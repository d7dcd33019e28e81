// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qm::posix {

/// Writes a new file beside `path` and renames it to `path`. It takes over the permissions and, where allowed, owner
/// and group of the file that it replaces. If the group cannot be kept, group and others get only the permissions that
/// both had, so nobody but this user gains access. A link is replaced itself. The file is not flushed: whoever begins a
/// log does not wait for the disk. A failure changes nothing and leaves nothing. Returns 0 or an error number.
int writeAtomically(const std::string& path, std::string_view contents);

}  // namespace qm::posix
