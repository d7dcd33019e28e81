// SPDX-License-Identifier: MIT
#include "Platform/macos/files/TrashNote.h"

#include <algorithm>
#include <cerrno>

#include "Platform/foundation/DateText.h"
#include "Platform/foundation/PathComponents.h"
#include "Platform/macos/files/TrashCalls.h"

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

TrashNotes::TrashNotes(std::string_view product)
    : attribute_(product.empty() ? std::string() : std::string(product) + ".trashed") {}

int TrashNotes::write(int item, const TrashNote& note) const {
  return attribute_.empty() ? ENOTSUP : writeAttribute(item, attribute_, noteText(note));
}

std::optional<TrashNote> TrashNotes::read(int item) const { return parsedNote(readAttribute(item, attribute_)); }

void TrashNotes::remove(int item) const { removeAttribute(item, attribute_); }

}  // namespace qm::macos
