// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Platform/foundation/PercentText.h"

namespace qm::linux_ {

/// The suffix of the file that describes an item in the Trash.
inline constexpr std::string_view kTrashInfoSuffix = ".trashinfo";

using foundation::percentDecoded;
using foundation::percentEncoded;

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
