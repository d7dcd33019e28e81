// SPDX-License-Identifier: MIT
#pragma once

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>

#include "Platform/FileReferences.h"

namespace qm::macos {

/// An item by its volume and its number there, which it keeps when it is renamed or moved.
class NumberedItem final : public platform::ReferencedItem {
 public:
  /// The item at the path, a link itself; null if there is none. As root, the path is walked by the rules of `pinPath`.
  static std::shared_ptr<const NumberedItem> at(const std::string& path);
  /// The item of a reference that this service made; null for any other reference.
  static const NumberedItem* in(const platform::FileReference& reference);

  /// The path that the reference was made of.
  const std::string& origin() const { return origin_; }
  /// The item's present path; null if the item is gone.
  std::optional<std::string> path() const;
  /// The item's status. Null on failure, see `errno`.
  std::optional<struct stat> status() const;
  /// Reads and writes the Finder information as `readFinderBytes` and `writeFinderFlags` need it.
  ssize_t finderInformation(unsigned char* bytes, std::size_t size) const;
  int setFinderInformation(const unsigned char* bytes, std::size_t size) const;

 private:
  /// A path below `/.vol` that leads to the item by its number, wherever the item is.
  std::string handle() const;

  std::string origin_;
  dev_t device_ = 0;
  fsid_t volume_{};
  std::uint64_t number_ = 0;
};

}  // namespace qm::macos
