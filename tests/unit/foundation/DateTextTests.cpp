// SPDX-License-Identifier: MIT
#include "Platform/foundation/DateText.h"

#include <gtest/gtest.h>

namespace {

using namespace qm::foundation;

constexpr CivilTime leapDay{2024, 2, 29, 23, 5, 7, 90};

TEST(DateText, DescribesADateWithItsZone) {
  EXPECT_EQ(dateDescription(leapDay), "2024-02-29 23:05:07 +0130");
  EXPECT_EQ(dateDescription({2024, 12, 1, 0, 0, 0, 0}), "2024-12-01 00:00:00 +0000");
}

TEST(DateText, DescribesAZoneWestOfGreenwich) {
  EXPECT_EQ(dateDescription({2024, 2, 29, 23, 5, 7, -210}), "2024-02-29 23:05:07 -0330");
  EXPECT_EQ(dateDescription({2024, 2, 29, 23, 5, 7, -5}), "2024-02-29 23:05:07 -0005");
}

TEST(DateText, GivesTheDigitsAlone) {
  EXPECT_EQ(compactDate(leapDay), "20240229230507");
  EXPECT_EQ(compactDate({2024, 1, 2, 3, 4, 5, 0}), "20240102030405");
}

TEST(DateText, GivesTheDateOfATrashEntry) { EXPECT_EQ(isoDate(leapDay), "2024-02-29T23:05:07"); }

TEST(DateText, FillsUpYearsToFourDigits) {
  EXPECT_EQ(isoDate({7, 1, 1, 0, 0, 0, 0}), "0007-01-01T00:00:00");
  EXPECT_EQ(isoDate({12345, 1, 1, 0, 0, 0, 0}), "12345-01-01T00:00:00");
  EXPECT_EQ(isoDate({-44, 3, 15, 0, 0, 0, 0}), "-0044-03-15T00:00:00");
}

TEST(IsoDate, IsKnownByItsForm) {
  EXPECT_TRUE(isIsoDate("2024-02-29T23:05:07"));
  for (const char* const other :
       {"", "2024-02-29", "2024-02-29 23:05:07", "2024-02-29T23:05:0x", "2024-02-29T23:05:07 "}) {
    EXPECT_FALSE(isIsoDate(other)) << other;
  }
}

}  // namespace
