// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashNote.h"

namespace qm::macos {
namespace {

// "2024-02-29T23:05:07", a space, the path.
constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:dd ";

bool fits(std::string_view text) {
  if (text.size() <= kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const bool isDigit = text[i] >= '0' && text[i] <= '9';
    if (kForm[i] == 'd' ? !isDigit : text[i] != kForm[i]) return false;
  }
  return true;
}

}  // namespace

std::string noteText(const TrashNote& note) { return note.deletionDate + " " + note.origin; }

std::optional<TrashNote> parsedNote(std::string_view text) {
  if (!fits(text)) return std::nullopt;
  const std::string_view origin = text.substr(kForm.size());
  const bool isPlain = origin.front() == '/' && origin.find('\0') == std::string_view::npos &&
                       (std::string(origin) + "/").find("/../") == std::string::npos;
  if (!isPlain) return std::nullopt;
  return TrashNote{std::string(origin), std::string(text.substr(0, kForm.size() - 1))};
}

}  // namespace qm::macos
