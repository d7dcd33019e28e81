// SPDX-License-Identifier: MIT
#include <array>
#include <string_view>

#include "Platform/foundation/Utf8.h"
#include "Uninstaller/remove/Report.h"

namespace qm::removal {
namespace {

constexpr int kSchema = 1;

std::string escapedControl(std::int32_t codePoint) {
  constexpr std::string_view digits = "0123456789abcdef";
  const auto number = static_cast<std::size_t>(codePoint);
  return std::string("\\u00") + digits[number / 16] + digits[number % 16];
}

std::string escaped(foundation::Character character, std::string_view bytes) {
  if (!character.isValid()) return "\\ufffd";
  if (bytes == "\"" || bytes == "\\") return "\\" + std::string(bytes);
  const bool isControl = character.codePoint < 0x20 || (character.codePoint >= 0x7F && character.codePoint < 0xA0);
  return isControl ? escapedControl(character.codePoint) : std::string(bytes);
}

std::string text(std::string_view value) {
  std::string result = "\"";
  for (std::size_t at = 0; at < value.size();) {
    const foundation::Character character = foundation::characterAt(value, at);
    result += escaped(character, value.substr(at, character.length));
    at += character.length;
  }
  return result + "\"";
}

std::string textOrNull(const std::optional<std::string>& value) { return value ? text(*value) : "null"; }

std::string truth(bool value) { return value ? "true" : "false"; }

std::string kindOf(const std::optional<ItemKind>& kind) {
  if (!kind) return "null";
  switch (*kind) {
    case ItemKind::File:
      return text("file");
    case ItemKind::Folder:
      return text("folder");
    case ItemKind::Link:
      return text("link");
    case ItemKind::Other:
      break;
  }
  return text("other");
}

std::string member(std::string_view name, const std::string& value) { return text(name) + ": " + value; }

template <class Values, class Write>
std::string list(const Values& values, Write write) {
  std::string result;
  for (const auto& value : values) result += (result.empty() ? "\n    " : ",\n    ") + write(value);
  return result.empty() ? "[]" : "[" + result + "\n  ]";
}

std::string itemObject(const ReportItem& item) {
  return "{" + member("user", textOrNull(item.user)) + ", " + member("path", textOrNull(item.path)) + ", " +
         member("kind", kindOf(item.kind)) + ", " + member("bytes", std::to_string(item.bytes)) + ", " +
         member("outcome", text(wordFor(item.outcome))) + ", " + member("reason", text(item.reason)) + ", " +
         member("needs_rights", truth(item.needsRights)) + ", " + member("trash_of", textOrNull(item.trashOf)) + ", " +
         member("trashed_to", textOrNull(item.trashedTo)) + "}";
}

std::string runningObject(const RunningProcess& process) {
  return "{" + member("process", std::to_string(process.id)) + ", " + member("user", text(process.user)) + "}";
}

}  // namespace

std::string reportJson(const Report& report) {
  const std::array<std::string, 10> members = {
      member("schema", std::to_string(kSchema)),
      member("version", text(QM_VERSION)),
      member("restore", truth(report.isRestore)),
      member("plan", truth(report.isPlan)),
      member("changed", truth(hasChanged(report))),
      member("status", std::to_string(statusOf(report))),
      member("summary", text(summaryOf(report))),
      member("problem", report.problem.empty() ? "null" : text(report.problem)),
      member("running", list(report.running, runningObject)),
      member("items", list(report.items, itemObject)),
  };
  std::string result;
  for (const std::string& each : members) result += (result.empty() ? "{\n  " : ",\n  ") + each;
  return result + "\n}\n";
}

}  // namespace qm::removal
