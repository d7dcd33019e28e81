// SPDX-License-Identifier: MIT
#include "Platform/foundation/NumberText.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>

namespace qm::foundation {
namespace {

using Limits = std::numeric_limits<double>;

constexpr int kRandomNumbers = 10'000;
constexpr std::size_t kGreatestPrecision = 100;

std::string standardFixed(double number, std::size_t precision) {
  std::array<char, 512> text{};
  const auto end =
      std::to_chars(text.begin(), text.end(), number, std::chars_format::fixed, static_cast<int>(precision));
  return {text.begin(), end.ptr};
}

std::string standardShortest(double number) {
  std::array<char, 512> text{};
  return {text.begin(), std::to_chars(text.begin(), text.end(), number).ptr};
}

/// A number and those beside it, none of them negative.
void withNeighbours(double number, const std::function<void(double)>& check) {
  check(number);
  check(std::nextafter(number, Limits::infinity()));
  check(std::nextafter(number, 0.0));
}

/// Every power of two, every power of ten and what is special, each with its neighbours.
void forLandmarks(const std::function<void(double)>& check) {
  for (int power = -1074; power <= 1023; ++power) withNeighbours(std::ldexp(1.0, power), check);
  for (int power = -323; power <= 308; ++power)
    withNeighbours(std::strtod(("1e" + std::to_string(power)).c_str(), nullptr), check);
  for (const double number :
       {0.0, Limits::max(), Limits::min(), Limits::denorm_min(), 0.5, 1.5, 2.5, 0.125, 0.1, 1.0 / 3})
    withNeighbours(number, check);
}

/// Numbers with any bits, and numbers as people write them.
void forRandomNumbers(const std::function<void(double)>& check) {
  std::mt19937_64 random(20'111'122);
  for (int i = 0; i < kRandomNumbers; ++i) {
    const double any = std::fabs(std::bit_cast<double>(random()));
    if (std::isfinite(any)) check(any);
    check(static_cast<double>(random() % 10'000'000) / static_cast<double>(1 + random() % 1000));
    check(static_cast<double>(random() >> (random() % 64)));
  }
}

void expectStandardShortest(double number) { ASSERT_EQ(shortestText(number), standardShortest(number)); }

TEST(NumberText, WritesLandmarksWithTheFewestDigitsAsTheStandardLibraryDoes) { forLandmarks(expectStandardShortest); }

TEST(NumberText, WritesAnyNumberWithTheFewestDigitsAsTheStandardLibraryDoes) {
  forRandomNumbers(expectStandardShortest);
}

TEST(NumberText, WritesLandmarksWithAnyPrecisionAsTheStandardLibraryDoes) {
  forLandmarks([](double number) {
    for (const std::size_t precision : {0U, 1U, 2U, 6U, 17U, 100U})
      ASSERT_EQ(fixedText(number, precision), standardFixed(number, precision));
  });
}

TEST(NumberText, WritesAnyNumberWithAnyPrecisionAsTheStandardLibraryDoes) {
  std::size_t precision = 0;
  forRandomNumbers([&](double number) {
    precision = (precision + 1) % (kGreatestPrecision + 1);
    ASSERT_EQ(fixedText(number, precision), standardFixed(number, precision));
  });
}

TEST(NumberText, NamesWhatIsNoNumber) {
  EXPECT_EQ(shortestText(Limits::infinity()), standardShortest(Limits::infinity()));
  EXPECT_EQ(shortestText(Limits::quiet_NaN()), standardShortest(Limits::quiet_NaN()));
  EXPECT_EQ(fixedText(Limits::infinity(), 3), standardFixed(Limits::infinity(), 3));
  EXPECT_EQ(fixedText(Limits::quiet_NaN(), 3), standardFixed(Limits::quiet_NaN(), 3));
}

TEST(NumberText, HasAPointWhateverTheLocaleHas) {
  EXPECT_EQ(withPoint("12.50", 2), "12.50");
  EXPECT_EQ(withPoint("12,50", 2), "12.50");
  EXPECT_EQ(withPoint("0٫125", 3), "0.125");
  EXPECT_EQ(withPoint("12", 0), "12");
}

}  // namespace
}  // namespace qm::foundation
