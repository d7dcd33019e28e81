// SPDX-License-Identifier: MIT
#include "Platform/foundation/Format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

namespace {

using qm::foundation::format;
using qm::foundation::FormatArgument;
using qm::foundation::formatted;

static_assert(!std::is_constructible_v<FormatArgument, std::nullptr_t>);

TEST(Format, LeavesPlainTextAlone) {
  EXPECT_EQ(formatted(""), "");
  EXPECT_EQ(formatted("Log truncated at 500KB"), "Log truncated at 500KB");
  EXPECT_EQ(formatted("caf\xc3\xa9 \xff"), "caf\xc3\xa9 \xff");
}

TEST(Format, FillsInText) {
  EXPECT_EQ(formatted("%@ - %@\n", "now", std::string("message")), "now - message\n");
  EXPECT_EQ(formatted("Exception in %s. %@ - %@.", "removeItem", "NSRangeException", "index 3 beyond bounds"),
            "Exception in removeItem. NSRangeException - index 3 beyond bounds.");
  EXPECT_EQ(formatted("%@", std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Format, PrintsNilInWords) {
  EXPECT_EQ(formatted("%@", std::optional<std::string>()), "(null)");
  EXPECT_EQ(formatted("%s|%i", std::optional<std::string>(), std::optional<std::string>()), "(null)|(null)");
  EXPECT_EQ(formatted("%@", std::optional<std::string>("a")), "a");
}

TEST(Format, PrintsIntegers) {
  EXPECT_EQ(formatted("%i %d %u", -1, 2, 3U), "-1 2 3");
  EXPECT_EQ(formatted("%x", 255), "ff");
  EXPECT_EQ(formatted("%x", -1), "ffffffffffffffff");
  EXPECT_EQ(formatted("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(formatted("%lu", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(Format, IgnoresLengthModifiers) {
  EXPECT_EQ(formatted("%hd %hhd %ld %lld %qd %zu %td %jd", 1, 2, 3L, 4LL, 5, 6U, 7, 8), "1 2 3 4 5 6 7 8");
}

TEST(Format, PrintsFractionsWithAPrecision) {
  EXPECT_EQ(formatted("%.2f", 8.0), "8.00");
  EXPECT_EQ(formatted("%f", 1.5), "1.500000");
  EXPECT_EQ(formatted("%.0f", 2.75), "3");
  EXPECT_EQ(formatted("%.f", 2.75), "3");
  EXPECT_EQ(formatted("%.1f", -0.05), "-0.1");
  EXPECT_EQ(formatted("%.1f", std::numeric_limits<double>::max()).size(), 311U);
  EXPECT_EQ(formatted("%f %f", std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()),
            "inf -inf");
}

TEST(Format, PrintsCharacters) { EXPECT_EQ(formatted("%c%c", 'o', 'k'), "ok"); }

TEST(Format, PrintsOnePercentSignForTwo) {
  EXPECT_EQ(formatted("100%%"), "100%");
  EXPECT_EQ(formatted(formatted("%%%%")), "%");
}

TEST(Format, FillsUpToAWidth) {
  EXPECT_EQ(formatted("[%5d][%-5d][%05d]", 42, 42, 42), "[   42][42   ][00042]");
  EXPECT_EQ(formatted("[%05d][%-05d]", -42, 42), "[-0042][42   ]");
  EXPECT_EQ(formatted("[%8.2f][%08.2f]", -1.5, -1.5), "[   -1.50][-0001.50]");
  EXPECT_EQ(formatted("[%5@][%-5@]", "ab", "ab"), "[   ab][ab   ]");
  EXPECT_EQ(formatted("[%3c][%-3c]", 'x', 'x'), "[  x][x  ]");
  EXPECT_EQ(formatted("[%2@]", "long"), "[long]");
  EXPECT_EQ(formatted("[%6@]", std::optional<std::string>()), "[(null)]");
  EXPECT_EQ(formatted("[%05f]", std::numeric_limits<double>::infinity()), "[  inf]");
}

TEST(Format, CountsCharactersNotBytesInAWidth) {
  EXPECT_EQ(formatted("[%3@]", "\xc3\xa9"), "[  \xc3\xa9]");
  EXPECT_EQ(formatted("[%-3@]", "\xf0\x9f\x98\x80"), "[\xf0\x9f\x98\x80  ]");
  EXPECT_EQ(formatted("[%3@]", "\xff"), "[  \xff]");
  EXPECT_EQ(formatted("[%.1@]", "\xc3\xa9t\xc3\xa9"), "[\xc3\xa9]");
}

TEST(Format, ShowsSignsWhenAsked) {
  EXPECT_EQ(formatted("%+d %+d % d % d", 1, -1, 1, -1), "+1 -1  1 -1");
  EXPECT_EQ(formatted("%+.1f", 1.0), "+1.0");
  EXPECT_EQ(formatted("%+03d", 1), "+01");
}

TEST(Format, PrintsAnotherKindOfArgumentInItsOwnForm) {
  EXPECT_EQ(formatted("%d %f %c", "text", "more", "still"), "text more still");
  EXPECT_EQ(formatted("%@ %s", 42, -7), "42 -7");
  EXPECT_EQ(formatted("%@ %d", 0.5, 2.0), "0.5 2");
  EXPECT_EQ(formatted("%f", 3), "3");
  EXPECT_EQ(formatted("%u", -1), "-1");
  EXPECT_EQ(formatted("%d", 'x'), "x");
  EXPECT_EQ(formatted("%d %d", true, false), "1 0");
}

TEST(Format, SaysWhenAnArgumentIsMissing) {
  EXPECT_EQ(formatted("%@"), "(missing)");
  EXPECT_EQ(formatted("%@ %d %s", "one"), "one (missing) (missing)");
  EXPECT_EQ(formatted("50% done and %@"), "50(missing)one and (missing)");
}

TEST(Format, IgnoresArgumentsTooMany) { EXPECT_EQ(formatted("%@", "one", "two"), "one"); }

TEST(Format, WritesNothingAndTakesNothingForTheCountDirective) {
  EXPECT_EQ(formatted("a%nb%@", "c"), "abc");
  EXPECT_EQ(formatted("%n%n%n"), "");
  EXPECT_EQ(formatted("%lln%hhn"), "");
}

TEST(Format, PrintsWhatIsNoDirectiveAsItStands) {
  EXPECT_EQ(formatted("%"), "%");
  EXPECT_EQ(formatted("50%"), "50%");
  EXPECT_EQ(formatted("%y %p %X", 1), "%y %p %X");
  EXPECT_EQ(formatted("%-05.2"), "%-05.2");
  EXPECT_EQ(formatted("%l"), "%l");
  EXPECT_EQ(formatted("%*d|%1$@", 5), "%*d|%1$@");
  EXPECT_EQ(formatted("%5y%@", "a"), "%5ya");
  EXPECT_EQ(formatted("%y%%%@", "a"), "%y%a");
}

TEST(Format, CutsWidthsAndPrecisions) {
  EXPECT_EQ(formatted("%9999999999999999999999d", 1).size(), 4096U);
  EXPECT_EQ(formatted("%-5000@", "a").size(), 4096U);
  EXPECT_EQ(formatted("%.999999999999f", 0.5).size(), 102U);
}

TEST(Format, StopsAtTheEndOfItsString) {
  const std::string text = "%@%@";
  EXPECT_EQ(formatted(std::string_view(text).substr(0, 3), "a"), "a%");
  EXPECT_EQ(formatted(std::string_view(text).substr(0, 1), "a"), "%");
}

TEST(Format, TakesAListOfArguments) {
  const FormatArgument list[] = {1, "two"};
  EXPECT_EQ(format("%d %@", list), "1 two");
}

}  // namespace
