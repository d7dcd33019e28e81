// SPDX-License-Identifier: MIT
#include "Uninstaller/qt/CatalogueTranslator.h"

#include <string>

namespace qm::qt {

namespace {

/// Texts of the toolkit's own that the windows show. Only some desktops mark a letter for the keyboard with "&".
[[maybe_unused]] constexpr const char* kOfToolkit[] = {uninstaller::catalogued("OK"), uninstaller::catalogued("&OK")};

}  // namespace

QString translated(std::string_view english) {
  return QString::fromStdString(uninstaller::language().translated(english));
}

/// For a text that the catalogue lacks, returns null, so that Qt asks the next translator.
QString CatalogueTranslator::translate(const char* /*context*/, const char* source, const char* /*disambiguation*/,
                                       int /*count*/) const {
  const std::string text = language_.translated(source);
  return text == source ? QString() : QString::fromStdString(text);
}

}  // namespace qm::qt
