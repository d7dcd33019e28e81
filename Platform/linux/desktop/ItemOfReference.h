// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>
#include <utility>

#include "Platform/FileReferences.h"
#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// The item that a reference refers to, held by a descriptor that gives no access to it. A reference and its copies
/// share it. While it is held its volume cannot be unmounted.
class ItemOfReference : public platform::ReferencedItem {
 public:
  explicit ItemOfReference(posix::UniqueFd item) : item_(std::move(item)) {}

  /// A path that leads to the item itself, whatever its location and name.
  std::string handle() const { return posix::pathOfDescriptor(item_.get()); }
  /// Where the item is now; null if it no longer has a name, or none that this process can reach.
  std::optional<std::string> path() const;
  bool isFolder() const;

 private:
  posix::UniqueFd item_;
};

/// The item of a reference; null for an unfilled one.
const ItemOfReference* itemOf(const platform::FileReference& reference);

}  // namespace qm::linux_
