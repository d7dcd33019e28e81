#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::linux_ {

/// The ending of the file that describes an item in the Trash.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

/// Any bytes as the text of a URL path: letters, digits, "-", "_", ".", "~" and "/" stand for
/// themselves, everything else is written "%XX".
std::string percentEncoded(std::string_view bytes);

/// The bytes that `percentEncoded` was given. What is no escape stands for itself.
std::string percentDecoded(std::string_view text);

/// The contents of a ".trashinfo" file. `path` is absolute in the home trash and relative to the
/// volume's top folder in a volume's trash.
std::string trashInfoText(std::string_view path, const std::string& deletionDate);

/// What such a file says.
struct TrashDescription {
  std::string path;          ///< not empty, without ".." and NUL bytes; absolute or not
  std::string deletionDate;  ///< as `trashInfoText` writes it; "" where it is no such date
};

/// Reads what any program has written, or anybody. Null when it breaks the rules.
std::optional<TrashDescription> parsedTrashInfo(std::string_view text);

}  // namespace qm::linux_
