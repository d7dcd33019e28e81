// SPDX-License-Identifier: MIT
#include "Platform/foundation/ControlCharacters.h"

#include "Platform/foundation/Utf8.h"

namespace qm::foundation {
namespace {

/// A byte outside valid UTF-8 is treated as a character of a single-byte encoding.
bool steersTerminals(const Character& character, char firstByte) {
  return isControlCharacter(character.isValid() ? character.codePoint : static_cast<unsigned char>(firstByte));
}

bool isPlain(const Character& character) {
  const std::int32_t code = character.codePoint;
  return character.isValid() && !isControlCharacter(code) && !turnsDirection(code) && !breaksLine(code);
}

}  // namespace

std::string replacingControlCharacters(std::string_view text, char replacement, std::string_view kept) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const Character character = characterAt(text, at);
    const char first = text[at];
    if (steersTerminals(character, first) && kept.find(first) == std::string_view::npos) {
      result += replacement;
    } else {
      result.append(text, at, character.length);
    }
    at += character.length;
  }
  return result;
}

bool isPlainText(std::string_view text) {
  while (!text.empty()) {
    const Character character = characterAt(text, 0);
    if (!isPlain(character)) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

}  // namespace qm::foundation
