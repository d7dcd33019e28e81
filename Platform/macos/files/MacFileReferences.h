// SPDX-License-Identifier: MIT
#pragma once

#include <sys/mount.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>

#include "Platform/FileReferences.h"

namespace qm::macos {

/// An item by its volume and its number there, which it keeps when it is renamed or moved.
class NumberedItem final : public platform::ReferencedItem {
 public:
  /// Null where nothing is at the path. A link itself is meant. For root nobody with fewer
  /// rights can have led the way elsewhere.
  static std::shared_ptr<const NumberedItem> at(const std::string& path);
  /// The one that a reference of this service's holds; null for any other.
  static const NumberedItem* in(const platform::FileReference& reference);

  /// A path that means the item wherever it is, through the system's own folder of numbers.
  std::string handle() const;
  /// Where it is now; null where it is gone.
  std::optional<std::string> path() const;

 private:
  dev_t device_ = 0;
  fsid_t volume_{};
  std::uint64_t number_ = 0;
};

class MacFileReferences final : public platform::FileReferences {
 public:
  platform::FileReference make(const std::string& path) const override;
  std::optional<std::string> path(const platform::FileReference& reference) const override;
};

}  // namespace qm::macos
