// SPDX-License-Identifier: MIT
#include "Platform/foundation/LikeMatch.h"

#include <cstddef>

#include "Platform/foundation/Utf8.h"

namespace qm::foundation {
namespace {

constexpr auto nowhere = std::string_view::npos;

std::string_view firstCharacter(std::string_view text) { return text.substr(0, characterAt(text, 0).length); }

/// How many bytes at the start of the pattern match the given character; 0 if none do.
std::size_t matchedLength(std::string_view pattern, std::string_view character) {
  if (pattern.empty()) return 0;
  if (pattern.front() == '?') return 1;
  return firstCharacter(pattern) == character ? character.size() : 0;
}

}  // namespace

/// Only the last "*" reached is ever extended: whatever an earlier one could match in addition, the later one can as
/// well. So there is no need to backtrack beyond it.
bool isLike(std::string_view name, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t inPattern = 0;
  std::size_t behindStar = nowhere;
  std::size_t starEnd = 0;  // the end of what the last "*" matches
  while (at < name.size()) {
    if (inPattern < pattern.size() && pattern[inPattern] == '*') {
      behindStar = ++inPattern;
      starEnd = at;
      if (behindStar == pattern.size()) return true;
      continue;
    }
    const std::string_view character = firstCharacter(name.substr(at));
    if (const std::size_t matched = matchedLength(pattern.substr(inPattern), character)) {
      inPattern += matched;
      at += character.size();
    } else if (behindStar != nowhere) {
      starEnd += firstCharacter(name.substr(starEnd)).size();
      at = starEnd;
      inPattern = behindStar;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', inPattern) == nowhere;
}

}  // namespace qm::foundation
