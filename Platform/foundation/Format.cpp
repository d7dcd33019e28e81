// SPDX-License-Identifier: MIT
#include "Platform/foundation/Format.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Platform/foundation/NumberText.h"
#include "Platform/foundation/Utf8.h"

namespace qm::foundation {
namespace {

constexpr std::size_t greatestWidth = 4096;
constexpr std::size_t greatestPrecision = 100;
constexpr std::size_t defaultPrecision = 6;

/// The text between a "%" and the end of its directive.
struct Directive {
  bool left = false;
  bool zeros = false;
  bool plus = false;
  bool blank = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  char conversion = '\0';
  std::size_t length = 0;  ///< of the text after the "%"
};

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool readFlag(char character, Directive& directive) {
  switch (character) {
    case '-':
      return directive.left = true;
    case '0':
      return directive.zeros = true;
    case '+':
      return directive.plus = true;
    case ' ':
      return directive.blank = true;
    default:
      return false;
  }
}

/// Reads a run of digits, cut to `greatest`.
std::size_t readNumber(std::string_view text, std::size_t& at, std::size_t greatest) {
  std::size_t number = 0;
  for (; at < text.size() && isDigit(text[at]); ++at) {
    number = std::min(greatest, number * 10 + static_cast<std::size_t>(text[at] - '0'));
  }
  return number;
}

/// The directive that `text` begins with; null if it begins with none.
std::optional<Directive> readDirective(std::string_view text) {
  Directive directive;
  std::size_t at = 0;
  while (at < text.size() && readFlag(text[at], directive)) ++at;
  directive.width = readNumber(text, at, greatestWidth);
  if (at < text.size() && text[at] == '.') directive.precision = readNumber(text, ++at, greatestPrecision);
  constexpr std::string_view lengthModifiers = "hlqztj";
  while (at < text.size() && lengthModifiers.find(text[at]) != std::string_view::npos) ++at;
  constexpr std::string_view conversions = "@sidufxcn%";
  if (at == text.size() || conversions.find(text[at]) == std::string_view::npos) return std::nullopt;
  directive.conversion = text[at];
  directive.length = at + 1;
  return directive;
}

/// Appends a text that is `characters` wide, padded with blanks.
void appendFilled(std::string& result, std::string_view text, std::size_t characters, const Directive& directive) {
  const std::size_t fill = directive.width > characters ? directive.width - characters : 0;
  if (!directive.left) result.append(fill, ' ');
  result.append(text);
  if (directive.left) result.append(fill, ' ');
}

void appendText(std::string& result, std::string_view text, const Directive& directive) {
  if (directive.precision) text = firstCharacters(text, *directive.precision);
  if (directive.width == 0) {
    result.append(text);
  } else {
    appendFilled(result, text, characterCount(text), directive);
  }
}

/// Appends a sign ("" for none) and the digits after it, padded with zeros between the two if the directive asks for
/// that.
void appendNumber(std::string& result, std::string_view sign, std::string_view digits, const Directive& directive,
                  bool zerosAllowed = true) {
  const std::size_t length = sign.size() + digits.size();
  std::string number(sign);
  if (zerosAllowed && directive.zeros && !directive.left && directive.width > length) {
    number.append(directive.width - length, '0');
  }
  number.append(digits);
  appendFilled(result, number, number.size(), directive);
}

std::string_view signOf(bool negative, const Directive& directive) {
  if (negative) return "-";
  const bool isSigned = directive.conversion == 'd' || directive.conversion == 'i' || directive.conversion == 'f';
  if (!isSigned) return "";
  return directive.plus ? "+" : directive.blank ? " " : "";
}

void appendMagnitude(std::string& result, bool negative, std::uint64_t magnitude, const Directive& directive) {
  char digits[24];
  const int base = directive.conversion == 'x' ? 16 : 10;
  const char* end = std::to_chars(std::begin(digits), std::end(digits), magnitude, base).ptr;
  const std::string_view text(digits, static_cast<std::size_t>(end - digits));
  const std::string_view sign = signOf(negative, directive);
  if (directive.width == 0) {
    result.append(sign).append(text);
  } else {
    appendNumber(result, sign, text, directive);
  }
}

void appendArgument(std::string& result, std::monostate /*nil*/, const Directive& directive) {
  appendText(result, "(null)", directive);
}

void appendArgument(std::string& result, std::string_view text, const Directive& directive) {
  appendText(result, text, directive);
}

void appendArgument(std::string& result, std::uint64_t number, const Directive& directive) {
  appendMagnitude(result, false, number, directive);
}

void appendArgument(std::string& result, std::int64_t number, const Directive& directive) {
  const auto bits = static_cast<std::uint64_t>(number);
  const bool negative = number < 0 && directive.conversion != 'x';
  appendMagnitude(result, negative, negative ? 0 - bits : bits, directive);
}

void appendArgument(std::string& result, char character, const Directive& directive) {
  appendFilled(result, std::string_view(&character, 1), 1, directive);
}

/// %f has the requested digits, any other directive the fewest that distinguish the number from its neighbours.
void appendArgument(std::string& result, double number, const Directive& directive) {
  const double magnitude = std::fabs(number);
  const std::string digits = directive.conversion == 'f'
                                 ? fixedText(magnitude, directive.precision.value_or(defaultPrecision))
                                 : shortestText(magnitude);
  appendNumber(result, signOf(std::signbit(number) && !std::isnan(number), directive), digits, directive,
               std::isfinite(number));
}

/// Appends the arguments to the result, each once and in order.
class Arguments {
 public:
  explicit Arguments(std::span<const FormatArgument> list) : list_(list) {}

  void appendNext(std::string& result, const Directive& directive) {
    if (next_ == list_.size()) {
      result.append(kMissingFormatArgument);
      return;
    }
    std::visit([&](const auto& value) { appendArgument(result, value, directive); }, list_[next_++].value());
  }

 private:
  std::span<const FormatArgument> list_;
  std::size_t next_ = 0;
};

void appendDirective(std::string& result, const Directive& directive, Arguments& arguments) {
  switch (directive.conversion) {
    case '%':
      result += '%';
      return;
    case 'n':
      return;
    default:
      arguments.appendNext(result, directive);
  }
}

}  // namespace

std::string format(std::string_view formatString, std::span<const FormatArgument> arguments) {
  constexpr std::size_t usualArgument = 32;
  std::string result;
  result.reserve(formatString.size() + arguments.size() * usualArgument);
  Arguments given(arguments);
  for (;;) {
    const std::size_t percent = formatString.find('%');
    result.append(formatString.substr(0, percent));
    if (percent == std::string_view::npos) return result;
    formatString.remove_prefix(percent + 1);
    if (const std::optional<Directive> directive = readDirective(formatString)) {
      appendDirective(result, *directive, given);
      formatString.remove_prefix(directive->length);
    } else {
      result += '%';
    }
  }
}

}  // namespace qm::foundation
