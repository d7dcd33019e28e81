// SPDX-License-Identifier: MIT

// Matches names against patterns and compares with a simple reference: a table of which prefixes of the one match which
// prefixes of the other. The first byte of an input is the pattern's length.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "Platform/foundation/LikeMatch.h"

namespace {

using Characters = std::vector<std::string_view>;

bool isBetween(unsigned char byte, unsigned low, unsigned high) { return byte >= low && byte <= high; }

// The length of the UTF-8 sequence that a text begins with, by the table of well-formed ones; 1 for a byte that
// begins none.
std::size_t sequenceLength(std::string_view text) {
  struct Form {
    unsigned firstLow, firstHigh, secondLow, secondHigh;
    std::size_t length;
  };
  constexpr Form forms[] = {{0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
                            {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
                            {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  for (const Form& form : forms) {
    if (!isBetween(byte(0), form.firstLow, form.firstHigh) || text.size() < form.length) continue;
    bool sound = isBetween(byte(1), form.secondLow, form.secondHigh);
    for (std::size_t at = 2; at < form.length; ++at) sound = sound && isBetween(byte(at), 0x80, 0xBF);
    if (sound) return form.length;
  }
  return 1;
}

Characters charactersOf(std::string_view text) {
  Characters characters;
  while (!text.empty()) {
    characters.push_back(text.substr(0, sequenceLength(text)));
    text.remove_prefix(characters.back().size());
  }
  return characters;
}

bool isLikeByTable(const Characters& name, const Characters& pattern) {
  std::vector<bool> row(name.size() + 1, false);  // of the pattern's beginning so far
  row[0] = true;
  for (const std::string_view sign : pattern) {
    std::vector<bool> next(name.size() + 1, false);
    if (sign == "*") {
      bool any = false;
      for (std::size_t i = 0; i <= name.size(); ++i) next[i] = any = any || row[i];
    } else {
      for (std::size_t i = 0; i < name.size(); ++i) next[i + 1] = row[i] && (sign == "?" || sign == name[i]);
    }
    row = std::move(next);
  }
  return row[name.size()];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::string_view pattern = bytes.substr(0, data[0]);
  const std::string_view name = bytes.substr(pattern.size());
  if (qm::foundation::isLike(name, pattern) != isLikeByTable(charactersOf(name), charactersOf(pattern))) std::abort();
  return 0;
}
