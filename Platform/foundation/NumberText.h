#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qm::foundation {

/// The digits of a number that is not negative, with a point whatever the locale is: the same texts as those of
/// std::to_chars, which not every system's library has for such numbers. "inf" and "nan" for what is no number.

/// With so many digits after the point, rounded from the exact value, half to even. No point without any.
std::string fixedText(double magnitude, std::size_t fractionDigits);
/// With the fewest digits that tell the number from its neighbours; with an exponent where that is shorter.
std::string shortestText(double magnitude);

/// What printf(3) has printed in any locale, digits with so many behind its decimal point, with a point for that.
std::string withPoint(std::string_view printed, std::size_t fractionDigits);

}  // namespace qm::foundation
