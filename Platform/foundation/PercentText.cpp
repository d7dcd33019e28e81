// SPDX-License-Identifier: MIT
#include "Platform/foundation/PercentText.h"

#include <charconv>

namespace qm::foundation {
namespace {

bool standsForItself(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_' ||
         c == '.' || c == '~' || c == '/';
}

void appendEncoded(std::string& text, char c) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  text += '%';
  text += digits[byte >> 4U];
  text += digits[byte & 15U];
}

}  // namespace

std::string percentEncoded(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    if (standsForItself(c)) {
      text += c;
    } else {
      appendEncoded(text, c);
    }
  }
  return text;
}

std::string percentDecoded(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    unsigned value = 0;
    const char* digits = text.data() + 1;
    const bool escape =
        text[0] == '%' && text.size() >= 3 && std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2;
    bytes += escape ? static_cast<char>(value) : text[0];
    text.remove_prefix(escape ? 3 : 1);
  }
  return bytes;
}

}  // namespace qm::foundation
