// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace qm::posix {

/// Writes a new file beside `path`, flushes it to the disk and renames it to `path`. It takes over the permissions and,
/// where allowed, the owner of the file that it replaces. A link is replaced itself. A failure changes nothing and
/// leaves nothing. Returns 0 or an error number.
int writeAtomically(const std::string& path, std::string_view contents);

}  // namespace qm::posix
