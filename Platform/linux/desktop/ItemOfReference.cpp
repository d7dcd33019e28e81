// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/ItemOfReference.h"

namespace qm::linux_ {
namespace {

/// For a removed item, /proc shows its last path with the suffix " (deleted)". A name can end like that, too, and
/// another item may have that path by now. Only a comparison with what is at the path decides.
bool leadsTo(const std::string& path, const struct stat& item) {
  struct stat found {};
  return ::lstat(path.c_str(), &found) == 0 && found.st_dev == item.st_dev && found.st_ino == item.st_ino;
}

}  // namespace

std::optional<std::string> ItemOfReference::path() const {
  std::string path = posix::shownPath(item_.get());
  struct stat item {};
  if (path.empty() || ::fstat(item_.get(), &item) != 0 || !leadsTo(path, item)) return std::nullopt;
  return path;
}

bool ItemOfReference::isFolder() const {
  struct stat item {};
  return ::fstat(item_.get(), &item) == 0 && S_ISDIR(item.st_mode);
}

const ItemOfReference* itemOf(const platform::FileReference& reference) {
  return dynamic_cast<const ItemOfReference*>(reference.item());
}

}  // namespace qm::linux_
