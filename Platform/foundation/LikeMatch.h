// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace qm::foundation {

/// Whether a whole name matches a pattern, in which "*" matches any run of characters, also an empty one, and "?"
/// exactly one. Letter case counts; there is no escape. Characters are those of UTF-8, and a byte that is not part of
/// valid UTF-8 is one character, equal only to itself. For a given pattern the time is proportional to the length of
/// the name; no memory is allocated.
bool isLike(std::string_view name, std::string_view pattern);

}  // namespace qm::foundation
