// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashNote.h"

#include <algorithm>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"

namespace qm::macos {
std::string noteText(const TrashNote& note) { return note.deletionDate + " " + note.origin; }

/// A note is the date, a space and the path.
std::optional<TrashNote> parsedNote(std::string_view text) {
  const std::size_t space = std::min(text.find(' '), text.size());
  const std::string_view date = text.substr(0, space);
  const std::string_view origin = text.substr(std::min(space + 1, text.size()));
  const bool isPlain = origin.starts_with('/') && origin.find('\0') == std::string_view::npos;
  if (!foundation::isIsoDate(date) || !isPlain || foundation::goesUp(origin)) return std::nullopt;
  return TrashNote{std::string(origin), std::string(date)};
}

}  // namespace qm::macos
