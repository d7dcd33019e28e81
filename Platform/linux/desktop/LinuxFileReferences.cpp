// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/LinuxFileReferences.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <utility>

#include "Platform/linux/desktop/ItemOfReference.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/rights/HeldPlace.h"

namespace qm::linux_ {

namespace {

/// Root follows no link to an item that somebody with fewer rights could have planted.
posix::UniqueFd openItem(const std::string& path) {
  if (::geteuid() != 0 || path == "/") return posix::UniqueFd(::open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  posix::HeldItem held;
  return posix::holdItem(path, held) == 0 ? std::move(held.item) : posix::UniqueFd();
}

}  // namespace

platform::FileReference LinuxFileReferences::make(const std::string& path) const {
  if (posix::pathError(path) != 0) return {};
  posix::UniqueFd item = openItem(posix::withoutTrailingSlashes(path));
  return item ? platform::FileReference(std::make_shared<ItemOfReference>(std::move(item))) : platform::FileReference();
}

std::optional<std::string> LinuxFileReferences::path(const platform::FileReference& reference) const {
  const ItemOfReference* item = itemOf(reference);
  return item == nullptr ? std::nullopt : item->path();
}

}  // namespace qm::linux_
