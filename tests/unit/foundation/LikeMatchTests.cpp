// SPDX-License-Identifier: MIT
#include "Platform/foundation/LikeMatch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "Platform/foundation/Utf8.h"

namespace {

using qm::foundation::characterAt;
using qm::foundation::isLike;

/// The same question answered by trying everything; for short texts only.
bool isLikeByTrying(std::string_view name, std::string_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern.front() == '*' && isLikeByTrying(name, pattern.substr(1))) return true;
  if (name.empty()) return false;
  const std::size_t length = characterAt(name, 0).length;
  if (pattern.front() == '*') return isLikeByTrying(name.substr(length), pattern);
  if (pattern.front() == '?') return isLikeByTrying(name.substr(length), pattern.substr(1));
  const std::size_t other = characterAt(pattern, 0).length;
  return name.substr(0, length) == pattern.substr(0, other) &&
         isLikeByTrying(name.substr(length), pattern.substr(other));
}

void expectLike(std::string_view pattern, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) EXPECT_TRUE(isLike(name, pattern)) << pattern << " " << name;
}

void expectUnlike(std::string_view pattern, std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) EXPECT_FALSE(isLike(name, pattern)) << pattern << " " << name;
}

TEST(LikeMatch, TakesAPatternWithoutWildcardsAsTheWholeName) {
  expectLike("Cache", {"Cache"});
  expectUnlike("Cache", {"", "cache", "Cach", "Caches", "aCache"});
  expectLike("", {""});
  expectUnlike("", {"a", "*"});
}

TEST(LikeMatch, TakesAStarAsAnyRunTheEmptyOneIncluded) {
  expectLike("*", {"", "a", ".hidden", "two words", "line\nend", "*"});
  expectLike("Cache*", {"Cache", "Cache1", "Cache*", "Cache.db"});
  expectUnlike("Cache*", {"cache1", "Cach", "", "aCache"});
  expectLike("*.plist", {".plist", "a.plist", "a.plist.plist"});
  expectUnlike("*.plist", {"plist", "a.plist2", "a.Plist"});
  expectLike("a*b*c", {"abc", "axbxc", "abcbc", "abbcc"});
  expectUnlike("a*b*c", {"ac", "acb", "abcd", "xabc"});
  expectLike("**a**", {"a", "bab"});
  expectUnlike("**a**", {"", "b"});
}

TEST(LikeMatch, TakesAQuestionMarkAsExactlyOneCharacter) {
  expectLike("?", {"a", "?", "*", ".", " "});
  expectUnlike("?", {"", "ab"});
  expectLike("a?c", {"abc", "a?c"});
  expectUnlike("a?c", {"ac", "abbc", "abd"});
  expectLike("*?", {"a", "ab"});
  expectUnlike("*?", {""});
  expectLike("?*?", {"ab", "abc"});
  expectUnlike("?*?", {"a"});
}

TEST(LikeMatch, KnowsNoEscapeAndNoSet) {
  expectLike("\\*", {"\\", "\\a"});
  expectUnlike("\\*", {"*"});
  expectLike("[ab]*", {"[ab]", "[ab]c"});
  expectUnlike("[ab]*", {"a", "b"});
}

TEST(LikeMatch, CountsACharacterOfSeveralBytesAsOne) {
  expectLike("?", {"\u00e9", "\u20ac", "\U0001F600"});
  expectLike("caf?", {"caf\u00e9"});
  expectUnlike("caf??", {"caf\u00e9"});
  expectLike("*\u00e9*", {"caf\u00e9s", "\u00e9"});
  expectUnlike("*\u00e9", {"\u00e8", "e"});
  expectLike("*?\u20ac", {"5\u20ac", "55\u20ac"});
  expectUnlike("*?\u20ac", {"\u20ac"});
}

TEST(LikeMatch, CountsEachByteThatIsNoTextAsOne) {
  expectLike("?", {"\xff", "\xc3"});
  expectUnlike("?", {"\xff\xfe", "\xe2\x82"});
  expectLike("??", {"\xff\xfe", "\xe2\x82"});
  expectLike("*\xff*", {"a\xff", "\xff", "a\xff\xff"});
  expectUnlike("*\xff*", {"\xfe", ""});
}

TEST(LikeMatch, FindsNoPartOfACharacterInACharacter) {
  expectUnlike("\xc3*", {"\u00e9"});  // the first byte of it
  expectUnlike("*\xa9", {"\u00e9"});  // the last
  expectUnlike("*\x82*", {"\u20ac"});
}

TEST(LikeMatch, TakesANulByteAsACharacter) {
  using namespace std::string_view_literals;
  expectLike("a?b"sv, {"a\0b"sv});
  expectLike("a\0*"sv, {"a\0"sv, "a\0b"sv});
  expectUnlike("a\0*"sv, {"a"sv, "ab"sv});
}

/// Every text of up to five letters against every pattern of up to five characters.
TEST(LikeMatch, AgreesWithTryingEverything) {
  const auto texts = [](std::string_view letters, std::size_t longest) {
    std::vector<std::string> all{""};
    for (std::size_t from = 0; from < all.size(); ++from) {
      if (all[from].size() == longest) continue;
      for (const char letter : letters) all.push_back(all[from] + letter);
    }
    return all;
  };
  const auto names = texts("ab", 5);
  std::size_t alike = 0;
  for (const std::string& pattern : texts("ab*?", 5)) {
    for (const std::string& name : names) {
      const bool expected = isLikeByTrying(name, pattern);
      if (expected) ++alike;
      ASSERT_EQ(isLike(name, pattern), expected) << pattern << " " << name;
    }
  }
  EXPECT_GT(alike, 1000U);
}

/// Trying everything would take longer than the age of the universe.
TEST(LikeMatch, TakesNoLongForAPatternOfManyStars) {
  std::string pattern;
  for (int star = 0; star < 100; ++star) pattern += "*a";
  const std::string name(200000, 'a');
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(isLike(name, pattern + "b"));
  EXPECT_TRUE(isLike(name, pattern));
  EXPECT_TRUE(isLike(name + "b", pattern + "b"));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

}  // namespace
