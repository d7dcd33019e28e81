// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/CatalogueTranslator.h"

#include <string>

namespace qm::qt {

namespace {

/// The toolkit's own texts that the windows show; desktops differ in the mark for the letter.
[[maybe_unused]] constexpr const char* kOfToolkit[] = {uninstaller::catalogued("OK"), uninstaller::catalogued("&OK")};

}  // namespace

QString translated(std::string_view english) {
  return QString::fromStdString(uninstaller::language().translated(english));
}

/// A text that the catalogue lacks is left to whoever is asked next.
QString CatalogueTranslator::translate(const char* /*context*/, const char* source, const char* /*disambiguation*/,
                                       int /*count*/) const {
  const std::string text = language_.translated(source);
  return text == source ? QString() : QString::fromStdString(text);
}

}  // namespace qm::qt
