// SPDX-License-Identifier: MIT
#include "Platform/foundation/Utf8.h"

#include <utf8proc.h>

#include <algorithm>

namespace qm::foundation {
namespace {
constexpr std::size_t longestCharacter = 4;
}  // namespace

Character characterAt(std::string_view text, std::size_t position) {
  const auto first = static_cast<unsigned char>(text[position]);
  if (first < kFirstNonAscii) return {first, 1};
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data()) + position;
  const std::size_t available = std::min(longestCharacter, text.size() - position);
  utf8proc_int32_t codePoint = -1;
  const utf8proc_ssize_t length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(available), &codePoint);
  if (length <= 0) return {};
  return {codePoint, static_cast<std::size_t>(length)};
}

Character characterBefore(std::string_view text, std::size_t end) {
  for (std::size_t length = 1; length <= std::min(longestCharacter, end); ++length) {
    const Character character = characterAt(text.substr(0, end), end - length);
    if (character.isValid() && character.length == length) return character;
  }
  return {};
}

bool isUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    if (!character.isValid()) return false;
    at += character.length;
  }
  return true;
}

std::string replacingInvalidBytes(std::string_view text) {
  std::string valid;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    valid += character.isValid() ? text.substr(at, character.length) : std::string_view("?");
    at += character.length;
  }
  return valid;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); at += characterAt(text, at).length) ++count;
  return count;
}

std::size_t columnCount(std::string_view text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    count += character.isValid() ? static_cast<std::size_t>(utf8proc_charwidth(character.codePoint)) : 1;
    at += character.length;
  }
  return count;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (; end < text.size() && count > 0; --count) end += characterAt(text, end).length;
  return text.substr(0, end);
}

}  // namespace qm::foundation
