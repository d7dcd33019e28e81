// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/HeldItem.h"

namespace qm::linux_ {
namespace {

/// A removed item keeps its last name, with a suffix that could just as well be part of a name, and another item may
/// have that name by now. Only a comparison with what is at the path decides.
bool leadsTo(const std::string& path, const struct stat& item) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0 && found.st_dev == item.st_dev && found.st_ino == item.st_ino;
}

}  // namespace

std::optional<std::string> HeldItem::path() const {
  std::string path = posix::shownPath(item_.get());
  struct stat item {};
  if (path.empty() || ::fstat(item_.get(), &item) != 0 || !leadsTo(path, item)) return std::nullopt;
  return path;
}

bool HeldItem::isFolder() const {
  struct stat item {};
  return ::fstat(item_.get(), &item) == 0 && S_ISDIR(item.st_mode);
}

const HeldItem* heldItem(const platform::FileReference& reference) {
  return dynamic_cast<const HeldItem*>(reference.item());
}

}  // namespace qm::linux_
