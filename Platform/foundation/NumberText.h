// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qm::foundation {

/// The digits of a non-negative number, with a decimal point whatever the locale is. The texts are those of
/// std::to_chars, which not every system's library has for such numbers. "inf" and "nan" for infinity and NaN.

/// With this many digits after the point, rounded from the exact value, half to even. Without a point if there are
/// none.
std::string fixedText(double magnitude, std::size_t fractionDigits);
/// With the fewest digits that distinguish the number from its neighbours; with an exponent if that is shorter.
std::string shortestText(double magnitude);

/// The output of printf(3) in any locale, with this many digits after the decimal point, with that point replaced by
/// ".".
std::string withPoint(std::string_view printed, std::size_t fractionDigits);

}  // namespace qm::foundation
