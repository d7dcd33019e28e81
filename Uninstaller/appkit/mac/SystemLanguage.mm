// SPDX-License-Identifier: MIT
#include "Uninstaller/SystemLanguage.h"

#include "Platform/macos/Framework.h"
#include "Uninstaller/appkit/PluralRule.h"

namespace qm::uninstaller {
namespace {

using macos::Pool;
using macos::stringOf;
using macos::textOf;

/// The language that the system has chosen for the bundle, which is the first of the bundle's preferred languages.
std::string languageOfBundle() {
  const Pool pool;
  return textOf([[[NSBundle mainBundle] preferredLocalizations] firstObject]);
}

/// The catalogue of the application's bundle, which contains the command as well. The system chooses the language.
class BundleLanguage final : public Language {
 public:
  std::string translated(std::string_view english) const override {
    const Pool pool;
    NSString* const key = stringOf(std::string(english));
    return textOf([[NSBundle mainBundle] localizedStringForKey:key value:key table:nil]);
  }
  std::string translatedFor(std::size_t count, std::string_view one, std::string_view many) const override {
    return translated(appkit::takesSingular(count, languageOfBundle()) ? one : many);
  }
  /// The system has the messages of its errors in English only.
  std::string systemMessage(std::string_view english) const override { return std::string(english); }
  std::string decimalPoint() const override {
    const Pool pool;
    return textOf([[NSLocale currentLocale] objectForKey:NSLocaleDecimalSeparator]);
  }
};

}  // namespace

const Language& systemLanguage() {
  static const auto* const shared = new BundleLanguage;
  return *shared;
}

}  // namespace qm::uninstaller
