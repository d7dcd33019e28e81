// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What users read, in their language. The English texts are the keys of the catalogue, to the letter. What programs
/// and administrators read (log, console, journal, JSON) is always English.
namespace qm::uninstaller {

/// A language with its catalogue. Any thread.
class Language {
 public:
  virtual ~Language() = default;
  /// The text in this language; the English text itself if the catalogue lacks it.
  virtual std::string translated(std::string_view english) const = 0;
  /// The form of the text that goes with the number.
  virtual std::string translatedFor(std::size_t count, std::string_view one, std::string_view many) const = 0;
  /// Translates the system's own sentence for an error, which is passed in English.
  virtual std::string systemMessage(std::string_view english) const = 0;
  /// What separates the decimals of a number.
  virtual std::string decimalPoint() const = 0;
};

/// The language of the keys.
const Language& english();
/// The user's language: English until another one is used.
const Language& language();
/// Called by main before there is another thread. The language is never destroyed.
void useLanguage(const Language& language);

/// Marks a text as a key of the catalogue, for places that do not translate it themselves.
constexpr const char* catalogued(const char* english) { return english; }

/// Names of placeholders, each with the text for it.
using Values = std::vector<std::pair<std::string, std::string>>;

/// The text with values in place of "{name}". Braces in values mean nothing.
std::string filled(std::string_view text, const Values& values);

/// A text in the user's language, with values for its placeholders.
std::string translated(std::string_view english, const Values& values = {});

/// The form of a text for a number, which replaces "{count}"; the values replace other placeholders.
std::string counted(const Language& language, std::size_t count, std::string_view one, std::string_view many,
                    Values values = {});

/// A size as `formatFileSize:` gives it, with the language's decimal point and names of units.
std::string sizeText(const Language& language, std::uint64_t bytes);

}  // namespace qm::uninstaller
