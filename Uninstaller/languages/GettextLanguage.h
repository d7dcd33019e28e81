// SPDX-License-Identifier: MIT
#pragma once

#include <locale.h>  // NOLINT(modernize-deprecated-headers): only POSIX's header has locale_t

#include <memory>
#include <type_traits>

#include "Uninstaller/Language.h"

namespace qm::uninstaller {

/// The language that the environment names, on the C library's gettext. The process's own locale is not touched, so
/// what is written to logs stays as it is. Any thread.
class GettextLanguage final : public Language {
 public:
  /// `folder` contains LANGUAGE/LC_MESSAGES/tessaly-uninstaller.mo for each language.
  explicit GettextLanguage(const std::string& folder);

  std::string translated(std::string_view english) const override;
  std::string translatedFor(std::size_t count, std::string_view one, std::string_view many) const override;
  std::string systemMessage(std::string_view english) const override;
  std::string decimalPoint() const override;

 private:
  struct Free {
    void operator()(locale_t locale) const { ::freelocale(locale); }
  };

  std::unique_ptr<std::remove_pointer_t<locale_t>, Free> locale_;
};

}  // namespace qm::uninstaller
