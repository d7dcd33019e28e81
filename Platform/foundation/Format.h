// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace qm::foundation {

/// One argument of a format string: text, null, a number or a character. Implicit, so that calls read like the
/// platform's own; the compiler rejects `nullptr`, but a `const char*` must not be null. Text is referred to, not
/// copied: an argument must not outlive the call that it is made for.
class FormatArgument {
 public:
  /// What an argument can be.
  using Value = std::variant<std::monostate, std::string_view, std::int64_t, std::uint64_t, double, char>;

  /// The compiler rejects `nullptr`.
  FormatArgument(std::nullptr_t) = delete;
  /// Text that ends at its NUL.
  FormatArgument(const char* text) : value_(std::string_view(text)) {}
  /// Text.
  FormatArgument(std::string_view text) : value_(text) {}
  /// Text.
  FormatArgument(const std::string& text) : value_(std::string_view(text)) {}
  /// Text, or null.
  FormatArgument(const std::optional<std::string>& text) {
    if (text) value_ = std::string_view(*text);
  }
  /// A character.
  FormatArgument(char character) : value_(character) {}
  /// A number: an integer of any size or a floating value.
  template <class Number>
  requires(std::is_arithmetic_v<Number> && !std::is_same_v<Number, char>) FormatArgument(Number number)
      : value_(widen(number)) {}

  /// The value.
  const Value& value() const { return value_; }

 private:
  template <class Number>
  static Value widen(Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
      return static_cast<double>(number);
    } else if constexpr (std::is_signed_v<Number>) {
      return static_cast<std::int64_t>(number);
    } else {
      return static_cast<std::uint64_t>(number);
    }
  }

  Value value_{};
};

/// Printed for a directive without an argument.
inline constexpr std::string_view kMissingFormatArgument = "(missing)";

/// Fills a format string. Directives: %@ %s (text; null prints "(null)"), %i %d %u %x %lu (integers; length modifiers
/// h, l, ll, q, z, t and j are accepted and have no effect), %f with a precision, %c, %%, each with flags "-", "0",
/// "+", " " and a width. An argument of another kind than its directive prints in its natural form. A directive without
/// an argument prints `kMissingFormatArgument`. %n prints nothing, writes nothing and takes no argument. Anything else
/// after a "%", and a "%" at the end, is printed verbatim. Widths over 4096 and precisions over 100 are reduced to
/// those. Never reads beyond `arguments`; any bytes are allowed.
std::string format(std::string_view formatString, std::span<const FormatArgument> arguments);

/// The same with the arguments given directly.
template <class... Arguments>
std::string formatted(std::string_view formatString, const Arguments&... arguments) {
  if constexpr (sizeof...(Arguments) == 0) {
    return format(formatString, {});
  } else {
    const FormatArgument list[] = {FormatArgument(arguments)...};
    return format(formatString, list);
  }
}

}  // namespace qm::foundation
