// SPDX-License-Identifier: MIT
#include "Platform/foundation/ControlCharacters.h"

#include <gtest/gtest.h>

#include <string>

namespace qm::foundation {
namespace {

using namespace std::string_literals;

std::string inOneLine(const std::string& text) { return replacingControlCharacters(text, '?'); }

TEST(ControlCharacters, AreThoseOfAsciiAndTheirSecondRow) {
  for (const int point : {0, 0x07, 0x0A, 0x1B, 0x1F, 0x7F, 0x80, 0x85, 0x9B, 0x9F}) {
    EXPECT_TRUE(isControlCharacter(point)) << point;
  }
  for (const int point : {-1, 0x20, 0x61, 0x7E, 0xA0, 0xE9, 0x200B, 0x2028})
    EXPECT_FALSE(isControlCharacter(point)) << point;
}

TEST(ControlCharacters, AreReplacedOneByOne) {
  EXPECT_EQ(inOneLine("\0a\x1b[31m\r\n\t\x7f"s), "?a?[31m????");
  EXPECT_EQ(inOneLine("a\u0080b\u009bc\u009f"), "a?b?c?");
}

TEST(ControlCharacters, AreReplacedOutsideUtf8Too) {
  EXPECT_EQ(inOneLine("a\x80"
                      "b\x9b"
                      "1m\x9f"),
            "a?b?1m?");
  EXPECT_EQ(inOneLine("\xc2"), "\xc2") << "the first half of one is none";
  EXPECT_EQ(inOneLine("\xe2\x82"), "\xe2?") << "a character cut short leaves a byte that is one";
}

TEST(ControlCharacters, AreNotTheBytesOfOtherCharacters) {
  const std::string text = "\u00e9\u0109\u2028\U0001f600\u00a0\xa0\xff\xfe";
  EXPECT_EQ(inOneLine(text), text);
  EXPECT_EQ(inOneLine(""), "");
}

TEST(ControlCharacters, StayWhereTheyAreWanted) {
  EXPECT_EQ(replacingControlCharacters("one\n\ttwo\r\n", ' ', "\n"), "one\n two \n");
  EXPECT_EQ(replacingControlCharacters("a\0b\n"s, ' ', "\n"), "a b\n");
}

TEST(PlainText, IsWhatPeopleAreShownAsItIs) {
  for (const std::string text : {"", "/bin/rm -f /Applications/Übung.app", "\u65e5\u672c\u8a9e", "\U0001f600"}) {
    EXPECT_TRUE(isPlainText(text)) << text;
  }
}

TEST(PlainText, HoldsNothingThatSteersTurnsOrBreaksALine) {
  for (const std::string part : {"\n", "\x1b", "\x7f", "\u0085", "\u009b", "\u202a", "\u202e", "\u2066", "\u2069",
                                 "\u2028", "\u2029", "\x9b", "\xff", "\xc2"}) {
    EXPECT_FALSE(isPlainText("/bin/echo " + part)) << part;
  }
}

}  // namespace
}  // namespace qm::foundation
