#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qm::foundation {

/// U+0000 to U+001F and U+007F to U+009F.
constexpr bool isControlCharacter(std::int32_t codePoint) {
  return (codePoint >= 0 && codePoint < 0x20) || (codePoint >= 0x7F && codePoint < 0xA0);
}

/// A text for a line or a terminal, which obeys control characters: each one, and each byte 80 to 9F that is not part
/// of valid UTF-8, is replaced. Those in `kept` (ASCII) stay, and so do all other bytes.
std::string replacingControlCharacters(std::string_view text, char replacement, std::string_view kept = {});

}  // namespace qm::foundation
