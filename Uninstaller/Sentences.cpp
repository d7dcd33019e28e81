// SPDX-License-Identifier: MIT
#include "Uninstaller/Sentences.h"

#include <algorithm>
#include <cstddef>

namespace qm::uninstaller {
namespace {

constexpr std::string_view kSentences[] = {
    catalogued("“{name}” couldn’t be moved to the Trash because {why}."),
    catalogued("“{name}” couldn’t be looked for in the Trash because {why}."),
    catalogued("“{name}” couldn’t be put back because {why}."),
    catalogued("Not authorized: {reason}"),
    catalogued("{tool} was not started: {reason}; left as it was: {path}"),
    catalogued("{tool} was not started: {reason}"),
    catalogued("{tool} failed with status {status}: {reason}"),
    catalogued("{tool} failed with status {status}"),
    catalogued("{tool} was ended by signal {signal}"),
    catalogued("{path}: {why}"),
};

constexpr const char* kSystemError = catalogued("of a system error ({system})");

/// In translations each is a sentence of its own.
constexpr std::string_view kClauses[] = {
    catalogued("it doesn’t exist"),
    catalogued("its folder doesn’t exist"),
    catalogued("something else is there now"),
    catalogued("you don’t have permission to move it"),
    catalogued("you don’t have permission to open its folder"),
    catalogued("you don’t have permission to use the Trash folder “{folder}”"),
    catalogued("it is locked or belongs to somebody else"),
    catalogued("the Trash folder “{folder}” belongs to somebody else"),
    catalogued("something in it is locked"),
    catalogued("it contains a device, which cannot be copied"),
    catalogued("a device is in it"),
    catalogued("its volume is not the Trash's, and is mounted nosuid or nodev"),
    catalogued("its volume can’t be changed"),
    catalogued("it is on another volume, whose file owners cannot be trusted"),
    catalogued("its volume has no Trash that it can be moved to"),
    catalogued("there is no space left on its volume"),
    catalogued("a part of the path to it is not a folder"),
    catalogued("“{folder}” is not a real folder"),
    catalogued("the links to its folder lead in a circle"),
    catalogued("a volume is mounted there"),
    catalogued("a volume is mounted in it"),
    catalogued("a file in it has other names, under which it would be changed, too"),
    catalogued("a file in it has other names elsewhere"),
    catalogued("something else has taken its place in the Trash"),
    kSystemError,
    catalogued("it is the Trash itself"),
    catalogued("that is not the place of an item"),
    catalogued("that is not the name of an item"),
    catalogued("nobody is logged in"),
    catalogued("the place of the Trash is not known"),
    catalogued("it is already in the Trash"),
    catalogued("the Trash itself is in it"),
    catalogued("it is not known whether a volume is mounted in it"),
    catalogued("somebody else could redirect the path to its folder"),
    catalogued("root puts back files and folders only"),
    catalogued("a link that is not root’s leads to its folder"),
    catalogued("it lies on another volume than the Trash, and this kernel has no Landlock"),
    catalogued("that is not your Trash"),
    catalogued("that is no part of the product"),
    catalogued("that is not the maker's folder"),
    catalogued("the program with administrator rights has ended"),
};

/// The values with which the pattern becomes the text; null if there are none. A value ends where the pattern first
/// continues.
std::optional<Values> valuesIn(std::string_view text, std::string_view pattern) {
  Values values;
  while (true) {
    const auto open = std::min(pattern.find('{'), pattern.size());
    if (!text.starts_with(pattern.substr(0, open))) return std::nullopt;
    text.remove_prefix(open);
    pattern.remove_prefix(open);
    if (pattern.empty()) return text.empty() ? std::optional(values) : std::nullopt;
    const auto close = pattern.find('}');
    const auto name = pattern.substr(1, close - 1);
    pattern.remove_prefix(close + 1);
    const auto literal = pattern.substr(0, pattern.find('{'));
    const bool isLast = literal.size() == pattern.size();
    if (isLast && !text.ends_with(literal)) return std::nullopt;
    const auto end = isLast ? text.size() - literal.size() : text.find(literal);
    if (end == std::string_view::npos || end == 0) return std::nullopt;
    values.emplace_back(name, text.substr(0, end));
    text.remove_prefix(end);
  }
}

std::optional<std::string> clause(const Language& language, std::string_view english);

std::optional<std::string> valueIn(const Language& language, const std::string& name, const std::string& english) {
  if (name == "why") return clause(language, english);
  if (name == "reason") return inLanguage(language, english);
  return name == "system" ? language.systemMessage(english) : english;
}

std::optional<std::string> oneOf(Sentences patterns, const Language& language, std::string_view english) {
  for (const std::string_view pattern : patterns) {
    auto values = valuesIn(english, pattern);
    if (!values) continue;
    const bool isIt = std::ranges::all_of(*values, [&](auto& each) {
      const auto value = valueIn(language, each.first, each.second);
      each.second = value.value_or("");
      return value.has_value();
    });
    if (isIt) return filled(language.translated(pattern), *values);
  }
  return std::nullopt;
}

std::optional<std::string> clause(const Language& language, std::string_view english) {
  if (auto known = oneOf(kClauses, language, english)) return known;
  const std::string words = language.systemMessage(english);
  if (words == english) return std::nullopt;
  return filled(language.translated(kSystemError), {{"system", words}});
}

}  // namespace

std::optional<std::string> knownInLanguage(const Language& language, std::string_view sentence, Sentences further) {
  if (auto known = oneOf(kSentences, language, sentence)) return known;
  if (auto known = oneOf(kClauses, language, sentence)) return known;
  return oneOf(further, language, sentence);
}

std::string inLanguage(const Language& language, std::string_view sentence, Sentences further) {
  const auto known = knownInLanguage(language, sentence, further);
  return known ? *known : language.translated(sentence);
}

}  // namespace qm::uninstaller
