#pragma once

#include <sys/stat.h>

#include <cstddef>

namespace qm::posix {

/// Writes all bytes at the current position. Answers 0 or an error number.
int writeAll(int file, const char* bytes, std::size_t count);

/// Copies the contents of a regular file into a new, empty one; holes stay holes. `attributes` are the
/// source's: what is added to it meanwhile is not copied. Answers 0 or an error number.
int copyContents(int from, int to, const struct stat& attributes);

}  // namespace qm::posix
