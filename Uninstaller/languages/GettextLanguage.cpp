// SPDX-License-Identifier: MIT
#include "Uninstaller/languages/GettextLanguage.h"

#include <langinfo.h>
#include <libintl.h>

namespace qm::uninstaller {
namespace {

constexpr const char* kCatalogue = "tessaly-uninstaller";
/// The C library's own catalogue.
constexpr const char* kSystem = "libc";

/// The thread has the locale as long as this object lives.
class InLocale {
 public:
  explicit InLocale(locale_t locale) : before_(::uselocale(locale)) {}
  InLocale(const InLocale&) = delete;
  InLocale& operator=(const InLocale&) = delete;
  ~InLocale() { ::uselocale(before_); }

 private:
  locale_t before_;
};

/// A locale that is not installed leaves the others as they are.
locale_t localeOfEnvironment() {
  locale_t made = ::newlocale(LC_ALL_MASK, "C.UTF-8", nullptr);
  if (made == nullptr) made = ::newlocale(LC_ALL_MASK, "C", nullptr);
  for (const int part : {LC_MESSAGES_MASK, LC_NUMERIC_MASK}) {
    const locale_t further = made != nullptr ? ::newlocale(part, "", made) : nullptr;
    if (further != nullptr) made = further;
  }
  return made;
}

}  // namespace

GettextLanguage::GettextLanguage(const std::string& folder) : locale_(localeOfEnvironment()) {
  ::bindtextdomain(kCatalogue, folder.c_str());
  for (const char* catalogue : {kCatalogue, kSystem}) ::bind_textdomain_codeset(catalogue, "UTF-8");
}

/// The empty key is that of the catalogue's own description.
std::string GettextLanguage::translated(std::string_view english) const {
  if (english.empty() || !locale_) return std::string(english);
  const InLocale locale(locale_.get());
  return ::dgettext(kCatalogue, std::string(english).c_str());
}

std::string GettextLanguage::translatedFor(std::size_t count, std::string_view one, std::string_view many) const {
  if (!locale_) return std::string(count == 1 ? one : many);
  const InLocale locale(locale_.get());
  return ::dngettext(kCatalogue, std::string(one).c_str(), std::string(many).c_str(), count);
}

std::string GettextLanguage::systemMessage(std::string_view english) const {
  if (english.empty() || !locale_) return std::string(english);
  const InLocale locale(locale_.get());
  return ::dgettext(kSystem, std::string(english).c_str());
}

std::string GettextLanguage::decimalPoint() const { return locale_ ? ::nl_langinfo_l(RADIXCHAR, locale_.get()) : "."; }

}  // namespace qm::uninstaller
