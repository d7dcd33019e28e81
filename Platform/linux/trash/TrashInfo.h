#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qm::linux_ {

/// The suffix of the file that describes an item in the Trash.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

/// Any bytes as the text of a URL path: letters, digits, "-", "_", ".", "~" and "/" are kept, everything else is
/// written as "%XX".
std::string percentEncoded(std::string_view bytes);

/// The inverse of `percentEncoded`. Whatever is not an escape is kept.
std::string percentDecoded(std::string_view text);

/// The contents of a ".trashinfo" file. `path` is absolute in the home trash and relative to the
/// volume's top folder in a volume's trash.
std::string trashInfoText(std::string_view path, const std::string& deletionDate);

/// The contents of such a file.
struct TrashDescription {
  std::string path;          ///< not empty, without ".." and NUL bytes; absolute or relative
  std::string deletionDate;  ///< as `trashInfoText` writes it; "" if it is not a valid date
};

/// Parses a file that any program, or anybody, may have written. Null if it breaks the rules.
std::optional<TrashDescription> parsedTrashInfo(std::string_view text);

}  // namespace qm::linux_
