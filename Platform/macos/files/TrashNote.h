// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::macos {

/// What is noted of an item that goes to the Trash, on the item itself: the Finder keeps its own notes where no program
/// may write them.
struct TrashNote {
  std::string origin;        ///< where it came from: absolute, without links on the way
  std::string deletionDate;  ///< when it went, in local time: "2024-02-29T23:05:07"
};

std::string noteText(const TrashNote& note);
/// What such a text says; null when it breaks the rules. It is anybody's word.
std::optional<TrashNote> parsedNote(std::string_view text);

/// Notes on the items of open descriptors, under a name of the product's. Without one nothing is noted.
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
