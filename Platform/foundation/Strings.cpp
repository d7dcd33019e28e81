// SPDX-License-Identifier: MIT
#include "Platform/foundation/Strings.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstdint>

#include "Platform/foundation/Utf8.h"

namespace qm::foundation {
namespace {

constexpr std::int32_t capitalIWithDot = 0x130;
constexpr std::int32_t combiningDotAbove = 0x307;
constexpr std::int32_t capitalSigma = 0x3A3;
constexpr std::int32_t finalSigma = 0x3C2;
constexpr std::int32_t lastOfBasicPlane = 0xFFFF;

bool isWhitespaceOrNewline(const Character& character) {
  const std::int32_t point = character.codePoint;
  if (!character.isValid()) return false;
  if (point < 0x80) return point == ' ' || (point >= '\t' && point <= '\r');
  if (point == 0x85 || point == 0x200B) return true;  // next line, zero width space
  const utf8proc_category_t category = utf8proc_category(point);
  return category == UTF8PROC_CATEGORY_ZS || category == UTF8PROC_CATEGORY_ZL || category == UTF8PROC_CATEGORY_ZP;
}

bool hasCase(std::int32_t point) {
  const utf8proc_category_t category = utf8proc_category(point);
  return category == UTF8PROC_CATEGORY_LU || category == UTF8PROC_CATEGORY_LL || category == UTF8PROC_CATEGORY_LT;
}

/// Characters that are skipped when the letter before or after is looked for: marks, modifiers, apostrophes and the
/// like.
bool isIgnoredForCase(std::int32_t point) {
  static constexpr std::int32_t inWords[] = {'\'', '.', ':', 0xB7, 0x387, 0x55F, 0x5F4, 0x2018, 0x2019, 0x2024, 0x2027};
  if (std::find(std::begin(inWords), std::end(inWords), point) != std::end(inWords)) return true;
  switch (utf8proc_category(point)) {
    case UTF8PROC_CATEGORY_MN:
    case UTF8PROC_CATEGORY_ME:
    case UTF8PROC_CATEGORY_CF:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_SK:
      return true;
    default:
      return false;
  }
}

bool letterPrecedes(std::string_view text, std::size_t position) {
  while (position > 0) {
    const Character character = characterBefore(text, position);
    if (!character.isValid()) return false;
    if (!isIgnoredForCase(character.codePoint)) return hasCase(character.codePoint);
    position -= character.length;
  }
  return false;
}

bool letterFollows(std::string_view text, std::size_t position) {
  while (position < text.size()) {
    const Character character = characterAt(text, position);
    if (!character.isValid()) return false;
    if (!isIgnoredForCase(character.codePoint)) return hasCase(character.codePoint);
    position += character.length;
  }
  return false;
}

/// Without a branch for each byte, so that the compiler can vectorise it.
bool isAscii(std::string_view text) {
  unsigned bits = 0;
  for (const char byte : text) bits |= static_cast<unsigned char>(byte);
  return bits < 0x80;
}

void appendCodePoint(std::string& text, std::int32_t point) {
  utf8proc_uint8_t bytes[4];
  const utf8proc_ssize_t length = utf8proc_encode_char(point, bytes);
  text.append(bytes, bytes + length);
}

/// The lower case of the character at `position`; a sigma that ends a word has a form of its own.
void appendLowercase(std::string& result, std::string_view text, std::size_t position, const Character& character) {
  const std::int32_t point = character.codePoint;
  if (point == capitalIWithDot) {
    appendCodePoint(result.append(1, 'i'), combiningDotAbove);
  } else if (point == capitalSigma && letterPrecedes(text, position) &&
             !letterFollows(text, position + character.length)) {
    appendCodePoint(result, finalSigma);
  } else {
    appendCodePoint(result, utf8proc_tolower(point));
  }
}

}  // namespace

std::string trimmingWhitespaceAndNewlines(std::string_view text) {
  while (!text.empty()) {
    const Character first = characterAt(text, 0);
    if (!isWhitespaceOrNewline(first)) break;
    text.remove_prefix(first.length);
  }
  while (!text.empty()) {
    const Character last = characterBefore(text, text.size());
    if (!isWhitespaceOrNewline(last)) break;
    text.remove_suffix(last.length);
  }
  return std::string(text);
}

std::string lowercaseString(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    if (character.isValid()) {
      appendLowercase(result, text, at, character);
    } else {
      result.append(text, at, character.length);
    }
    at += character.length;
  }
  return result;
}

std::size_t utf16Length(std::string_view text) {
  if (isAscii(text)) return text.size();
  std::size_t units = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    units += character.codePoint > lastOfBasicPlane ? 2 : 1;
    at += character.length;
  }
  return units;
}

}  // namespace qm::foundation
