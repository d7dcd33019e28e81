// SPDX-License-Identifier: MIT
#include "Platform/foundation/Strings.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using namespace qm::foundation;
using namespace std::string_literals;

TEST(Trimming, TakesBlanksAndLineEndsFromBothEnds) {
  EXPECT_EQ(trimmingWhitespaceAndNewlines(" \t\r\n\v\f a \n b \r\n"), "a \n b");
  EXPECT_EQ(trimmingWhitespaceAndNewlines("a"), "a");
  EXPECT_EQ(trimmingWhitespaceAndNewlines(" \n "), "");
  EXPECT_EQ(trimmingWhitespaceAndNewlines(""), "");
}

TEST(Trimming, KnowsUnicodesBlanks) {
  // No-break space, next line, ogham space, en space, line and paragraph separators, ideographic space.
  EXPECT_EQ(trimmingWhitespaceAndNewlines("\u00a0\u0085\u1680\u2002x\u2028\u2029\u3000"), "x");
}

TEST(Trimming, KeepsWhatIsNoBlank) {
  EXPECT_EQ(trimmingWhitespaceAndNewlines("\0a\0"s), "\0a\0"s);
  EXPECT_EQ(trimmingWhitespaceAndNewlines("\xa0x\x85"), "\xa0x\x85") << "bytes that are no UTF-8";
  EXPECT_EQ(trimmingWhitespaceAndNewlines("\u200b \u200bx\u200by\u200b"), "x\u200by") << "of no width, but a blank";
  EXPECT_EQ(trimmingWhitespaceAndNewlines("\u200cx\u200d\ufeff"), "\u200cx\u200d\ufeff")
      << "of no width, and no blanks";
  EXPECT_EQ(trimmingWhitespaceAndNewlines(" \xe2\x80"), "\xe2\x80") << "half a character";
}

TEST(Lowercase, ChangesLettersOfAllScripts) {
  EXPECT_EQ(lowercaseString("ABCxyz123"), "abcxyz123");
  EXPECT_EQ(lowercaseString("\u00c4\u00c9\u0416\u0394\u0531"), "\u00e4\u00e9\u0436\u03b4\u0561");
  EXPECT_EQ(lowercaseString("\U00010400"), "\U00010428");
  EXPECT_EQ(lowercaseString("\u00df\u6f22"), "\u00df\u6f22");
}

TEST(Lowercase, MapsOneLetterToTwoWhereUnicodeDoes) { EXPECT_EQ(lowercaseString("\u0130"), "i\u0307"); }

TEST(Lowercase, GivesASigmaItsFormAtTheEndOfAWord) {
  EXPECT_EQ(lowercaseString("\u039f\u0394\u039f\u03a3"), "\u03bf\u03b4\u03bf\u03c2");
  EXPECT_EQ(lowercaseString("\u03a3\u0391\u03a3 \u03a3"), "\u03c3\u03b1\u03c2 \u03c3");
  EXPECT_EQ(lowercaseString("\u0391\u03a3\u0301."), "\u03b1\u03c2\u0301.");
  EXPECT_EQ(lowercaseString("\u0391'\u03a3'\u0391"), "\u03b1'\u03c3'\u03b1");
}

TEST(Lowercase, PassesOtherBytesThrough) {
  EXPECT_EQ(lowercaseString("A\xff\x80"
                            "B"),
            "a\xff\x80"
            "b");
  EXPECT_EQ(lowercaseString("A\xc3"), "a\xc3");
  EXPECT_EQ(lowercaseString("A\0B"s), "a\0b"s);
}

TEST(Utf16Length, CountsTwoUnitsBeyondTheBasicPlane) {
  EXPECT_EQ(utf16Length(""), 0U);
  EXPECT_EQ(utf16Length("abc"), 3U);
  EXPECT_EQ(utf16Length("\u00e9\u20ac"), 2U);
  EXPECT_EQ(utf16Length("\U0001f600"), 2U);
}

TEST(Utf16Length, CountsEveryOtherByteAsOne) {
  EXPECT_EQ(utf16Length("\xff\xfe"), 2U);
  EXPECT_EQ(utf16Length("a\xe2\x82"), 3U);
  EXPECT_EQ(utf16Length("\xed\xa0\x80"), 3U) << "half a surrogate pair is no character";
}

struct Encoded {
  const char* name;
  StringEncoding encoding;
  std::string bytes;
  std::optional<std::string> text;
};

class Decoding : public ::testing::TestWithParam<Encoded> {};

TEST_P(Decoding, GivesUtf8OrNil) { EXPECT_EQ(decode(GetParam().bytes, GetParam().encoding), GetParam().text); }

INSTANTIATE_TEST_SUITE_P(
    Table, Decoding,
    ::testing::Values(Encoded{"Ascii", StringEncoding::ASCII, "plain\x7f", "plain\x7f"},
                      Encoded{"AsciiOver127", StringEncoding::ASCII, "caf\xc3\xa9", std::nullopt},
                      Encoded{"AsciiEmpty", StringEncoding::ASCII, "", ""},
                      Encoded{"Utf8", StringEncoding::UTF8, "\u00e9\0\U0001f600"s, "\u00e9\0\U0001f600"s},
                      Encoded{"Utf8CutShort", StringEncoding::UTF8, "a\xe2\x82", std::nullopt},
                      Encoded{"Utf8Overlong", StringEncoding::UTF8, "\xc0\xaf", std::nullopt},
                      Encoded{"Utf8Surrogate", StringEncoding::UTF8, "\xed\xa0\x80", std::nullopt},
                      Encoded{"Utf8BeyondUnicode", StringEncoding::UTF8, "\xf4\x90\x80\x80", std::nullopt},
                      Encoded{"Latin1", StringEncoding::ISOLatin1, "caf\xe9", "caf\u00e9"},
                      Encoded{"Latin2", StringEncoding::ISOLatin2, "\xb1", "\u0105"},
                      Encoded{"Windows1250", StringEncoding::WindowsCP1250, "\x9c", "\u015b"},
                      Encoded{"Windows1251", StringEncoding::WindowsCP1251, "\xc6", "\u0416"},
                      Encoded{"Windows1252", StringEncoding::WindowsCP1252, "\x80", "\u20ac"},
                      Encoded{"Windows1253", StringEncoding::WindowsCP1253, "\xc4", "\u0394"},
                      Encoded{"Windows1254", StringEncoding::WindowsCP1254, "\xdd", "\u0130"},
                      Encoded{"MacRoman", StringEncoding::MacOSRoman, "\x8e\xa5", "\u00e9\u2022"},
                      Encoded{"MacRomanOwnSigns", StringEncoding::MacOSRoman, "\xc6\xf0\xbd\xdb\xff",
                              "\u2206\uf8ff\u03a9\u20ac\u02c7"},
                      Encoded{"MacRomanAscii", StringEncoding::MacOSRoman, "a\0\x7f"s, "a\0\x7f"s},
                      Encoded{"NextStep", StringEncoding::NEXTSTEP, "a\xa4\xae\xe8", "a\u2044\ufb01\u0141"},
                      Encoded{"NextStepUnassigned", StringEncoding::NEXTSTEP, "\xfe", std::nullopt},
                      Encoded{"JapaneseEuc", StringEncoding::JapaneseEUC, "\xb4\xc1", "\u6f22"},
                      Encoded{"ShiftJis", StringEncoding::ShiftJIS, "\x8a\xbf", "\u6f22"},
                      Encoded{"ShiftJisCutShort", StringEncoding::ShiftJIS, "\x8a", std::nullopt},
                      Encoded{"Iso2022Jp", StringEncoding::ISO2022JP, "\x1b$B4A\x1b(B", "\u6f22"},
                      Encoded{"Utf16WithMark", StringEncoding::UTF16, "\xfe\xff\0a"s, "a"},
                      Encoded{"Utf16Big", StringEncoding::UTF16BigEndian, "\0a\xd8\x3d\xde\x00"s, "a\U0001f600"},
                      Encoded{"Utf16Little", StringEncoding::UTF16LittleEndian, "a\0"s, "a"},
                      Encoded{"Utf16OddBytes", StringEncoding::UTF16LittleEndian, "a\0b"s, std::nullopt},
                      Encoded{"Utf16LoneSurrogate", StringEncoding::UTF16BigEndian, "\xde\x00\0a"s, std::nullopt},
                      Encoded{"Utf32WithMark", StringEncoding::UTF32, "\xff\xfe\0\0a\0\0\0"s, "a"},
                      Encoded{"Utf32Big", StringEncoding::UTF32BigEndian, "\0\1\xf6\0"s, "\U0001f600"},
                      Encoded{"Utf32Little", StringEncoding::UTF32LittleEndian, "a\0\0\0"s, "a"},
                      Encoded{"Unknown", static_cast<StringEncoding>(12345), "a", std::nullopt},
                      Encoded{"Long", StringEncoding::ISOLatin1, std::string(5000, '\xe9'),
                              [] {
                                std::string text;
                                for (int i = 0; i < 5000; ++i) text += "\u00e9";
                                return text;
                              }()}),
    [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
