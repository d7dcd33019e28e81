// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Walks UTF-8 text one character at a time.
namespace qm::foundation {

/// Bytes of this value or higher belong to characters beyond ASCII; code points of this value or higher are not ASCII.
inline constexpr unsigned char kFirstNonAscii = 0x80;

/// One character of a text: a code point, or a byte that begins none.
struct Character {
  std::int32_t codePoint = -1;  ///< -1 for a byte that is not part of valid UTF-8
  std::size_t length = 1;       ///< bytes
  bool isValid() const { return codePoint >= 0; }
};

/// The character that begins at `position`, which must lie within the text.
Character characterAt(std::string_view text, std::size_t position);

/// The character that ends right before `end`, which must be over 0.
Character characterBefore(std::string_view text, std::size_t end);

/// Whether all of a text is valid UTF-8.
bool isUtf8(std::string_view text);

/// The text with "?" for each byte that is not part of valid UTF-8.
std::string replacingInvalidBytes(std::string_view text);

/// How many columns of a terminal a text takes. Chinese, Japanese and Korean characters take two.
std::size_t columnCount(std::string_view text);

/// How many characters a text has, and its first `count` characters.
std::size_t characterCount(std::string_view text);
std::string_view firstCharacters(std::string_view text, std::size_t count);

}  // namespace qm::foundation
