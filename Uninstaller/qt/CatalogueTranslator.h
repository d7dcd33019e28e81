// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QTranslator>
#include <string_view>

#include "Uninstaller/Language.h"

namespace qm::qt {

/// The text in the user's language, for a widget.
QString translated(std::string_view english);

/// Translates the texts for which Qt asks its translators, such as those of the interface file, by the catalogue of the
/// user's language.
class CatalogueTranslator final : public QTranslator {
 public:
  explicit CatalogueTranslator(const uninstaller::Language& language = uninstaller::language()) : language_(language) {}

  QString translate(const char* context, const char* source, const char* disambiguation, int count) const override;
  bool isEmpty() const override { return false; }

 private:
  const uninstaller::Language& language_;
};

}  // namespace qm::qt
