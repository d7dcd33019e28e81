// SPDX-License-Identifier: MIT
#include "tests/unit/macos/FakeItem.h"

#include <algorithm>
#include <cerrno>
#include <memory>

#include "Platform/macos/files/NumberedItem.h"

namespace qm::macos {

const NumberedItem* NumberedItem::in(const platform::FileReference& reference) {
  return dynamic_cast<const NumberedItem*>(reference.item());
}

std::shared_ptr<const NumberedItem> NumberedItem::at(const std::string& path) {
  auto item = std::make_shared<NumberedItem>();
  item->origin_ = path;
  return item;
}

std::optional<std::string> NumberedItem::path() const { return onlyItem.path; }

std::optional<struct stat> NumberedItem::status() const {
  errno = ENOENT;
  return onlyItem.status;
}

ssize_t NumberedItem::finderInformation(unsigned char* bytes, std::size_t size) const {
  errno = onlyItem.readError;
  if (onlyItem.readError != 0) return -1;
  std::copy_n(onlyItem.bytes.begin(), size, bytes);
  return static_cast<ssize_t>(size);
}

int NumberedItem::setFinderInformation(const unsigned char* bytes, std::size_t size) const {
  ++onlyItem.writes;
  onlyItem.onWrite();
  errno = onlyItem.writeError;
  if (onlyItem.writeError != 0) return -1;
  std::copy_n(bytes, size, onlyItem.bytes.begin());
  return 0;
}

}  // namespace qm::macos
