// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "Shared/QMFileManager.h"

namespace qm::testing {
namespace {

template <class Name>
concept IsAName = requires(Name name) {
  QMFileManager::validateFilename(name);
};
static_assert(IsAName<const char*> && IsAName<std::string> && !IsAName<std::nullptr_t>);

constexpr double kKilobyte = 1024;
constexpr double kMegabyte = kKilobyte * 1024;
constexpr double kGigabyte = kMegabyte * 1024;

// MARK: - Sizes

TEST(FormatFileSize, ShowsBytesWithoutDecimals) {
  EXPECT_EQ(QMFileManager::formatFileSize(0), "0 B");
  EXPECT_EQ(QMFileManager::formatFileSize(1), "1 B");
  EXPECT_EQ(QMFileManager::formatFileSize(1.4), "1 B");
  EXPECT_EQ(QMFileManager::formatFileSize(1023), "1023 B");
  EXPECT_EQ(QMFileManager::formatFileSize(1023.9), "1024 B") << "the unit does not change";
}

TEST(FormatFileSize, ShowsNegativeSizesAsBytes) {
  EXPECT_EQ(QMFileManager::formatFileSize(-1), "-1 B");
  EXPECT_EQ(QMFileManager::formatFileSize(-5 * kGigabyte), "-5368709120 B");
  EXPECT_EQ(QMFileManager::formatFileSize(-std::numeric_limits<double>::infinity()), "-inf B");
}

TEST(FormatFileSize, ShowsKilobytesWithTwoDecimals) {
  EXPECT_EQ(QMFileManager::formatFileSize(kKilobyte), "1.00 KB");
  EXPECT_EQ(QMFileManager::formatFileSize(1536), "1.50 KB");
  EXPECT_EQ(QMFileManager::formatFileSize(1034), "1.01 KB");
  EXPECT_EQ(QMFileManager::formatFileSize(kMegabyte - 1), "1024.00 KB") << "the unit does not change";
}

TEST(FormatFileSize, ShowsMegabytesWithTwoDecimals) {
  EXPECT_EQ(QMFileManager::formatFileSize(kMegabyte), "1.00 MB");
  EXPECT_EQ(QMFileManager::formatFileSize(2.25 * kMegabyte), "2.25 MB");
  EXPECT_EQ(QMFileManager::formatFileSize(kGigabyte - 1), "1024.00 MB") << "the unit does not change";
}

TEST(FormatFileSize, ShowsGigabytesHoweverMany) {
  EXPECT_EQ(QMFileManager::formatFileSize(kGigabyte), "1.00 GB");
  EXPECT_EQ(QMFileManager::formatFileSize(1024 * kGigabyte), "1024.00 GB");
  EXPECT_EQ(QMFileManager::formatFileSize(std::ldexp(1.0, 80)), "1125899906842624.00 GB");
  EXPECT_EQ(QMFileManager::formatFileSize(std::numeric_limits<double>::infinity()), "inf GB");
}

TEST(FormatFileSize, ShowsWhatIsNoNumberInGigabytes) {
  EXPECT_EQ(QMFileManager::formatFileSize(std::numeric_limits<double>::quiet_NaN()), "nan GB");
  EXPECT_EQ(QMFileManager::formatFileSize(-std::numeric_limits<double>::quiet_NaN()), "nan GB");
}

// MARK: - Names

TEST(ValidateFilename, LeavesAUsableNameAsItIs) {
  for (const char* name : {"", "report.txt", "two words", "a.b.c", "caf\u00e9 \\ \" * ?", "a\nb"})
    EXPECT_EQ(QMFileManager::validateFilename(name), name);
  const std::string longName(5000, 'x');
  EXPECT_EQ(QMFileManager::validateFilename(longName), longName);
}

TEST(ValidateFilename, DropsOneLeadingDot) {
  EXPECT_EQ(QMFileManager::validateFilename("."), "");
  EXPECT_EQ(QMFileManager::validateFilename(".x"), "x");
  EXPECT_EQ(QMFileManager::validateFilename("..x"), ".x");
  EXPECT_EQ(QMFileManager::validateFilename(".."), ".");
  EXPECT_EQ(QMFileManager::validateFilename("x."), "x.");
}

TEST(ValidateFilename, TrimsWhiteSpaceAndLineEndsAtBothEnds) {
  EXPECT_EQ(QMFileManager::validateFilename(" \t\r\n x y \n"), "x y");
  EXPECT_EQ(QMFileManager::validateFilename("\u00a0\u3000x\u2028"), "x");
  EXPECT_EQ(QMFileManager::validateFilename(" \t\n"), "");
  EXPECT_EQ(QMFileManager::validateFilename(". "), "");
}

TEST(ValidateFilename, RemovesSlashesAndColons) {
  EXPECT_EQ(QMFileManager::validateFilename(" a/b:c "), "abc");
  EXPECT_EQ(QMFileManager::validateFilename("//::a::b//"), "ab");
  EXPECT_EQ(QMFileManager::validateFilename(":/:"), "");
}

TEST(ValidateFilename, LooksAtTheDotBeforeTheBlanksAndAtTheBlanksBeforeTheSlashes) {
  EXPECT_EQ(QMFileManager::validateFilename(".  x"), "x");
  EXPECT_EQ(QMFileManager::validateFilename(" .x"), ".x");
  EXPECT_EQ(QMFileManager::validateFilename("/.x"), ".x");
  EXPECT_EQ(QMFileManager::validateFilename("/ x /"), " x ");
}

TEST(ValidateFilename, KeepsBytesThatAreNoText) {
  EXPECT_EQ(QMFileManager::validateFilename(" a\xff/b "),
            "a\xff"
            "b");
  EXPECT_EQ(QMFileManager::validateFilename(std::string("a\0/b", 4)), std::string("a\0b", 3));
}

}  // namespace
}  // namespace qm::testing
