// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Text helpers with the platform's own rules. Strings are UTF-8; invalid bytes are kept as they are and count as one
/// character each.
namespace qm::foundation {

/// Without the white space and newlines at both ends. White space is Unicode's, with tab and the zero-width space.
std::string trimmingWhitespaceAndNewlines(std::string_view text);

/// The whole string in lower case, by Unicode's rules, without regard to a locale.
std::string lowercaseString(std::string_view text);

/// The length in UTF-16 code units.
std::size_t utf16Length(std::string_view text);

/// The platform's string-encoding numbers.
enum class StringEncoding : unsigned long {
  ASCII = 1,
  NEXTSTEP = 2,
  JapaneseEUC = 3,
  UTF8 = 4,
  ISOLatin1 = 5,
  ShiftJIS = 8,
  ISOLatin2 = 9,
  UTF16 = 10,
  WindowsCP1251 = 11,
  WindowsCP1252 = 12,
  WindowsCP1253 = 13,
  WindowsCP1254 = 14,
  WindowsCP1250 = 15,
  ISO2022JP = 21,
  MacOSRoman = 30,
  UTF16BigEndian = 0x90000100,
  UTF16LittleEndian = 0x94000100,
  UTF32 = 0x8c000100,
  UTF32BigEndian = 0x98000100,
  UTF32LittleEndian = 0x9c000100,
};

/// Bytes in an encoding, converted to UTF-8; null if they are not valid in it (a byte over 127 in ASCII, for example)
/// or the encoding is not known. Empty bytes give "".
std::optional<std::string> decode(std::string_view bytes, StringEncoding encoding);

}  // namespace qm::foundation
