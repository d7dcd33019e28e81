#pragma once

#include <string>
#include <string_view>

namespace qm::posix {

/// Writes a new file beside `path` and, once it is safely on the disk, gives it that name. A file that is
/// replaced hands on its permissions and, where allowed, its owner; a link is replaced itself. After a
/// failure nothing is changed and nothing is left. Answers 0 or an error number.
int writeAtomically(const std::string& path, std::string_view contents);

}  // namespace qm::posix
