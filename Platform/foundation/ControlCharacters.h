// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qm::foundation {

/// U+0000 to U+001F and U+007F to U+009F.
constexpr bool isControlCharacter(std::int32_t codePoint) {
  return (codePoint >= 0 && codePoint < 0x20) || (codePoint >= 0x7F && codePoint < 0xA0);
}

/// Makes a text fit for one line or for a terminal, which would obey control characters. Each control character is
/// replaced, and each byte 80 to 9F that is not part of valid UTF-8. Those in `kept` (ASCII) stay, and so do all other
/// bytes.
std::string replacingControlCharacters(std::string_view text, char replacement, std::string_view kept = {});

/// U+202A to U+202E and U+2066 to U+2069, which change the direction of the characters after them, to the end of a line
/// and beyond.
constexpr bool turnsDirection(std::int32_t codePoint) {
  return (codePoint >= 0x202A && codePoint <= 0x202E) || (codePoint >= 0x2066 && codePoint <= 0x2069);
}

/// U+2028 and U+2029.
constexpr bool breaksLine(std::int32_t codePoint) { return codePoint == 0x2028 || codePoint == 0x2029; }

/// Whether a text can be shown as it is: valid UTF-8, in one line, without control or direction characters.
bool isPlainText(std::string_view text);

}  // namespace qm::foundation
