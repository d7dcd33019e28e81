// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/TrashInfo.h"

#include <algorithm>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"

namespace qm::linux_ {
namespace {

constexpr std::string_view kGroup = "[Trash Info]";
constexpr std::string_view kBlanks = " \t";

std::string_view nextLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return line;
}

// The text after "key =", if the line begins with that.
std::optional<std::string_view> valueOf(std::string_view key, std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  std::string_view found = line.substr(0, equals);
  found = found.substr(0, found.find_last_not_of(kBlanks) + 1);
  if (found != key) return std::nullopt;
  const std::string_view value = line.substr(equals + 1);
  return value.substr(std::min(value.find_first_not_of(kBlanks), value.size()));
}

// The first one in the group counts.
std::optional<std::string_view> valueIn(std::string_view group, std::string_view key) {
  while (!group.empty()) {
    const std::string_view line = nextLine(group);
    if (line.starts_with('[')) return std::nullopt;
    if (const auto value = valueOf(key, line)) return value;
  }
  return std::nullopt;
}

}  // namespace

std::string trashInfoText(std::string_view path, const std::string& deletionDate) {
  return "[Trash Info]\nPath=" + percentEncoded(path) + "\nDeletionDate=" + deletionDate + "\n";
}

std::optional<TrashDescription> parsedTrashInfo(std::string_view text) {
  if (text.find('\0') != std::string_view::npos || nextLine(text) != kGroup) return std::nullopt;
  const auto path = valueIn(text, "Path");
  const auto date = valueIn(text, "DeletionDate");
  TrashDescription result{percentDecoded(path.value_or("")), std::string(date.value_or(""))};
  const bool isPath =
      !result.path.empty() && result.path.find('\0') == std::string::npos && !foundation::goesUp(result.path);
  if (!foundation::isIsoDate(result.deletionDate)) result.deletionDate.clear();
  return isPath ? std::optional(std::move(result)) : std::nullopt;
}

}  // namespace qm::linux_
