// SPDX-License-Identifier: MIT
#include "Uninstaller/appkit/Description.h"

#include "Uninstaller/Language.h"

namespace qm::appkit {
namespace {

/// A catalogue has no entry for an empty text.
std::optional<std::string> inLanguage(const std::optional<std::string>& english) {
  return english && !english->empty() ? uninstaller::translated(*english) : english;
}

}  // namespace

std::optional<Description> translatedDescription(const Description& english) {
  if (!english.label || english.label->empty()) return std::nullopt;
  return Description{inLanguage(english.label), inLanguage(english.help)};
}

}  // namespace qm::appkit
