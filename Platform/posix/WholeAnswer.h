// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace qm::posix {

/// A structure that a system call fills in. `call(structure, size)` returns how many bytes it wrote. Null unless it
/// filled the whole structure.
template <class Answer, class Call>
std::optional<Answer> wholeAnswer(Call call) {
  constexpr int kSize = static_cast<int>(sizeof(Answer));
  Answer answer{};
  return call(&answer, kSize) == kSize ? std::optional(answer) : std::nullopt;
}

/// A text that a system call writes with a null byte at its end. `call(bytes, room)` returns the length that the text
/// needs together with that byte; 0 if there is none. Null if there is none, or if it is longer than `kRoom`.
template <std::size_t kRoom, class Call>
std::optional<std::string> wholeText(Call call) {
  std::array<char, kRoom> text{};
  const std::size_t length = call(text.data(), text.size());
  return length > 0 && length <= text.size() ? std::optional<std::string>(text.data()) : std::nullopt;
}

}  // namespace qm::posix
