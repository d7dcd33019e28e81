// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::macos {

/// What is recorded about an item in the Trash, in an attribute of the item itself. The Finder has records of its own,
/// but programs cannot read or write them.
struct TrashNote {
  std::string origin;        ///< the item's old path: absolute, without links on the way
  std::string deletionDate;  ///< when it was moved to the Trash, in local time: "2024-02-29T23:05:07"
};

std::string noteText(const TrashNote& note);
/// Parses the text of a note; null if it breaks the rules. The text is not trusted, because the item's owner can change
/// it.
std::optional<TrashNote> parsedNote(std::string_view text);

/// Reads and writes the notes of open items. The attribute's name contains the product's name. Without a product's name
/// nothing is noted.
class TrashNotes {
 public:
  explicit TrashNotes(std::string_view product);

  /// Returns 0 or an error number.
  int write(int item, const TrashNote& note) const;
  std::optional<TrashNote> read(int item) const;
  void remove(int item) const;

 private:
  const std::string attribute_;
};

}  // namespace qm::macos
