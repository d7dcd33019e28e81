#pragma once

#include <string_view>

namespace qm::foundation {

/// Whether a whole name is like a pattern, in which "*" stands for any run of characters, the empty one
/// included, and "?" for exactly one. Letter case counts; there is no escape. Characters are those of
/// UTF-8, and a byte that is not part of valid UTF-8 is one character, equal to itself only. Takes time
/// in proportion to the name for a given pattern, and no memory.
bool isLike(std::string_view name, std::string_view pattern);

}  // namespace qm::foundation
