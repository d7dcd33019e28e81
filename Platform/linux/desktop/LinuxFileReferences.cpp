// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/LinuxFileReferences.h"

#include <fcntl.h>

#include <memory>
#include <utility>

#include "Platform/linux/desktop/HeldItem.h"
#include "Platform/posix/ItemPath.h"

namespace qm::linux_ {

platform::FileReference LinuxFileReferences::make(const std::string& path) const {
  if (posix::pathError(path) != 0) return {};
  posix::UniqueFd item(::open(posix::withoutTrailingSlashes(path).c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!item) return {};
  return platform::FileReference(std::make_shared<HeldItem>(std::move(item)));
}

std::optional<std::string> LinuxFileReferences::path(const platform::FileReference& reference) const {
  const HeldItem* item = heldItem(reference);
  return item == nullptr ? std::nullopt : item->path();
}

}  // namespace qm::linux_
