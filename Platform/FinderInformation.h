// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>

#include "Platform/FileReferences.h"
#include "Platform/Status.h"

namespace qm::platform {

/// The flags word in the Finder information of an item: its label and more. Any thread.
class FinderInformation {
 public:
  virtual ~FinderInformation() = default;

  /// 0 for an item that has no such information yet. Null when there is no item or it may not be read.
  virtual std::optional<std::uint16_t> finderFlags(const FileReference& reference) const = 0;
  /// Writes the flags and leaves the rest of the information unchanged.
  virtual Status setFinderFlags(const FileReference& reference, std::uint16_t flags) = 0;
};

}  // namespace qm::platform
