// SPDX-License-Identifier: MIT

// Feeds the formatter with any format string and any arguments, each in memory of its own of exactly its size. What it
// prints for one number must be what the C library prints, and an argument must count for its own directive and for
// nothing else.

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/foundation/Format.h"

namespace {

using qm::foundation::format;
using qm::foundation::FormatArgument;
using qm::foundation::formatted;
using qm::foundation::kMissingFormatArgument;

constexpr std::size_t kMostArguments = 6;

void require(bool condition) {
  if (!condition) std::abort();
}

// Without these characters, a text cannot be part of the replacement for a missing argument.
char plain(char character) { return character == '(' || character == ')' ? '_' : character; }

std::string plain(std::string text) {
  std::ranges::transform(text, text.begin(), [](char character) { return plain(character); });
  return text;
}

// The arguments' texts, each in memory of exactly its size, so that reading beyond is detected.
class Texts {
 public:
  std::string_view keep(const std::string& text) {
    texts_.push_back(std::make_unique<char[]>(text.size()));
    std::ranges::copy(text, texts_.back().get());
    return {texts_.back().get(), text.size()};
  }

 private:
  std::vector<std::unique_ptr<char[]>> texts_;
};

FormatArgument makeArgument(FuzzedDataProvider& input, Texts& texts) {
  switch (input.ConsumeIntegralInRange(0, 5)) {
    case 0:
      return std::optional<std::string>();
    case 1:
      return input.ConsumeIntegral<std::int64_t>();
    case 2:
      return input.ConsumeIntegral<std::uint64_t>();
    case 3:
      return input.ConsumeFloatingPoint<double>();
    case 4:
      return plain(input.ConsumeIntegral<char>());
    default:
      return texts.keep(plain(input.ConsumeRandomLengthString(64)));
  }
}

std::size_t missingIn(const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(kMissingFormatArgument, at)) != std::string::npos; ++at) ++count;
  return count;
}

// With each further argument one replacement less is printed; extra arguments at the end change nothing.
void checkArguments(const std::string& formatString, const std::vector<FormatArgument>& all) {
  const std::size_t wanted = missingIn(format(formatString, {}));
  std::string complete;
  for (std::size_t count = 0; count <= all.size(); ++count) {
    const std::vector<FormatArgument> some(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
    const std::string text = format(formatString, some);
    require(missingIn(text) == wanted - std::min(wanted, count));
    if (count > wanted) require(text == complete);
    complete = text;
  }
}

// The directive is what is compared.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <class Number>
std::string printed(const std::string& directive, Number number) {
  std::array<char, 8192> text{};
  const int length = std::snprintf(text.data(), text.size(), directive.c_str(), number);
  require(length >= 0 && static_cast<std::size_t>(length) < text.size());
  return {text.data(), static_cast<std::size_t>(length)};
}
#pragma GCC diagnostic pop

std::string flagsAndWidth(FuzzedDataProvider& input) {
  std::string directive = "%";
  for (const char flag : {'-', '0', '+', ' '}) {
    if (input.ConsumeBool()) directive += flag;
  }
  if (input.ConsumeBool()) directive += std::to_string(input.ConsumeIntegralInRange(1, 4096));
  return directive;
}

void compareWithTheLibrary(FuzzedDataProvider& input) {
  const std::string start = flagsAndWidth(input);
  const auto number = input.ConsumeIntegral<std::int64_t>();
  const auto bits = static_cast<std::uint64_t>(number);
  require(formatted(start + "d", number) == printed(start + "ld", number));
  require(formatted(start + "i", number) == printed(start + "li", number));
  require(formatted(start + "lu", bits) == printed(start + "lu", bits));
  require(formatted(start + "x", bits) == printed(start + "lx", bits));
  const auto real = input.ConsumeFloatingPoint<double>();
  const std::string precision = "." + std::to_string(input.ConsumeIntegralInRange(0, 100)) + "f";
  require(formatted(start + precision, real) == printed(start + precision, real));
  require(formatted(start + "f", real) == printed(start + "f", real));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  compareWithTheLibrary(input);
  Texts texts;
  std::vector<FormatArgument> arguments;
  const auto count = input.ConsumeIntegralInRange<std::size_t>(0, kMostArguments);
  while (arguments.size() < count) arguments.push_back(makeArgument(input, texts));
  const std::string formatString = input.ConsumeRemainingBytesAsString();
  format(formatString, arguments);
  checkArguments(plain(formatString), arguments);
  if (formatString.find('%') == std::string::npos) require(format(formatString, arguments) == formatString);
  return 0;
}
