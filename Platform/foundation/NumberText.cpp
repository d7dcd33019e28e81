// SPDX-License-Identifier: MIT
#include "Platform/foundation/NumberText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace qm::foundation {
namespace {

/// With this many digits every number can be distinguished from its neighbours.
constexpr int kMostDigits = 17;
/// The largest number has 309 digits before its point, and a locale's point has a few bytes.
constexpr std::size_t kMostBeforeFraction = 330;

/// A whole number, as its digits, times a power of ten.
struct Decimal {
  std::string digits;
  int exponent = 0;

  /// The power of ten of the first digit.
  int magnitude() const { return exponent + static_cast<int>(digits.size()) - 1; }
};

/// The nearest decimal of so many digits, half to even.
Decimal nearest(double number, int count) {
  char printed[64];
  const int length = std::snprintf(printed, sizeof printed, "%.*e", count - 1, number);
  const std::string_view text(printed, static_cast<std::size_t>(length));
  const std::size_t mark = text.find('e');
  const std::size_t others = static_cast<std::size_t>(count) - 1;
  std::string digits(text.substr(0, 1));
  digits.append(text.substr(mark - others, others));  // the locale's decimal point stands between
  const auto power = static_cast<int>(std::strtol(printed + mark + 1, nullptr, 10));
  return {digits, power - (count - 1)};
}

/// The next larger decimal of as many digits, or of one more.
void increase(Decimal& decimal) {
  std::size_t at = decimal.digits.size();
  while (at > 0 && decimal.digits[at - 1] == '9') decimal.digits[--at] = '0';
  if (at > 0) {
    ++decimal.digits[at - 1];
  } else {
    decimal.digits.insert(decimal.digits.begin(), '1');
  }
}

/// Whether reading the decimal gives the number. Its text has no point, so the result does not depend on the locale.
bool means(const Decimal& decimal, double number) {
  return std::strtod((decimal.digits + "e" + std::to_string(decimal.exponent)).c_str(), nullptr) == number;
}

void dropLastZeros(Decimal& decimal) {
  while (decimal.digits.size() > 1 && decimal.digits.back() == '0') {
    decimal.digits.pop_back();
    ++decimal.exponent;
  }
}

Decimal shortest(double number) {
  for (int count = 1; count < kMostDigits; ++count) {
    Decimal decimal = nearest(number, count);
    // A power of two is farther from its larger neighbour than from its smaller one. So a decimal above it can be near
    // enough although the nearest decimal, which is below it, is not.
    if (!means(decimal, number)) increase(decimal);
    if (!means(decimal, number)) continue;
    dropLastZeros(decimal);
    return decimal;
  }
  return nearest(number, kMostDigits);
}

std::string withExponent(const Decimal& decimal) {
  const int power = decimal.magnitude();
  const std::string digits = std::to_string(std::abs(power));
  std::string text = decimal.digits;
  if (text.size() > 1) text.insert(1, ".");
  return text + (power < 0 ? "e-" : "e+") + (digits.size() < 2 ? "0" : "") + digits;
}

std::string withoutExponent(const Decimal& decimal, double number) {
  if (decimal.exponent >= 0) return fixedText(number, 0);  // all digits of the exact value, not zeros at the end
  const auto fraction = static_cast<std::size_t>(-decimal.exponent);
  std::string text = decimal.digits;
  if (text.size() <= fraction) text.insert(0, fraction + 1 - text.size(), '0');
  return text.insert(text.size() - fraction, ".");
}

}  // namespace

std::string withPoint(std::string_view printed, std::size_t fractionDigits) {
  if (fractionDigits == 0) return std::string(printed);
  std::string text(printed.substr(0, printed.find_first_not_of("0123456789")));
  return text.append(".").append(printed.substr(printed.size() - fractionDigits));
}

std::string fixedText(double magnitude, std::size_t fractionDigits) {
  if (!std::isfinite(magnitude)) return std::isnan(magnitude) ? "nan" : "inf";
  const auto precision = static_cast<int>(fractionDigits);
  std::string printed(kMostBeforeFraction + fractionDigits, '\0');
  const int length = std::snprintf(printed.data(), printed.size(), "%.*f", precision, magnitude);
  printed.resize(static_cast<std::size_t>(length));
  return withPoint(printed, fractionDigits);
}

std::string shortestText(double magnitude) {
  if (!std::isfinite(magnitude) || magnitude == 0) return fixedText(magnitude, 0);
  const Decimal decimal = shortest(magnitude);
  std::string scientific = withExponent(decimal);
  constexpr int kNeverShorter = 25;
  if (std::abs(decimal.magnitude()) > kNeverShorter) return scientific;
  std::string fixed = withoutExponent(decimal, magnitude);
  return fixed.size() <= scientific.size() ? fixed : scientific;
}

}  // namespace qm::foundation
