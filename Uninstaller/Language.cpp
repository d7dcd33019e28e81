// SPDX-License-Identifier: MIT
#include "Uninstaller/Language.h"

#include <algorithm>
#include <atomic>

#include "Shared/QMFileManager.h"

namespace qm::uninstaller {
namespace {

class English final : public Language {
 public:
  std::string translated(std::string_view english) const override { return std::string(english); }
  std::string translatedFor(std::size_t count, std::string_view one, std::string_view many) const override {
    return std::string(count == 1 ? one : many);
  }
  std::string systemMessage(std::string_view english) const override { return std::string(english); }
  std::string decimalPoint() const override { return "."; }
};

std::atomic<const Language*>& usedLanguage() {
  static std::atomic<const Language*> used = &english();
  return used;
}

constexpr std::string_view kSizes[] = {catalogued("{number} B"), catalogued("{number} KB"), catalogued("{number} MB"),
                                       catalogued("{number} GB")};

}  // namespace

const Language& english() {
  static const auto* const shared = new English;
  return *shared;
}

const Language& language() { return *usedLanguage(); }

void useLanguage(const Language& language) { usedLanguage() = &language; }

std::string filled(std::string_view text, const Values& values) {
  std::string result;
  while (!text.empty()) {
    const auto open = std::min(text.find('{'), text.size());
    const auto close = text.find('}', open);
    const auto name = close == std::string_view::npos ? std::string_view() : text.substr(open + 1, close - open - 1);
    const auto value = std::ranges::find(values, name, [](const auto& each) { return std::string_view(each.first); });
    const auto next = value == values.end() ? std::min(open + 1, text.size()) : close + 1;
    result += text.substr(0, value == values.end() ? next : open);
    if (value != values.end()) result += value->second;
    text.remove_prefix(next);
  }
  return result;
}

std::string translated(std::string_view english, const Values& values) {
  return filled(language().translated(english), values);
}

std::string counted(const Language& language, std::size_t count, std::string_view one, std::string_view many,
                    Values values) {
  values.emplace_back("count", std::to_string(count));
  return filled(language.translatedFor(count, one, many), values);
}

std::string sizeText(const Language& language, std::uint64_t bytes) {
  const std::string english = QMFileManager::formatFileSize(static_cast<double>(bytes));
  const auto space = english.find(' ');
  std::string number = english.substr(0, space);
  if (const auto point = number.find('.'); point != std::string::npos) {
    number.replace(point, 1, language.decimalPoint());
  }
  const auto* const size = std::ranges::find_if(
      kSizes, [&](std::string_view each) { return each.ends_with(std::string_view(english).substr(space)); });
  return size == std::end(kSizes) ? english : filled(language.translated(*size), {{"number", number}});
}

}  // namespace qm::uninstaller
