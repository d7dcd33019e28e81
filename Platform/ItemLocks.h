// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/Status.h"

namespace qm::platform {

/// The lock (immutable flag) of a single item. A symbolic link is neither followed nor locked.
/// Any thread.
class ItemLocks {
 public:
  virtual ~ItemLocks() = default;

  /// Sets or clears the flag. If the item already has the requested state, that is a success and it is not touched; a
  /// missing item is a failure.
  virtual Status setImmutable(const std::string& path, bool immutable) = 0;
  /// Null when nothing is there or the flag cannot be read.
  virtual std::optional<bool> isImmutable(const std::string& path) const = 0;
};

}  // namespace qm::platform
