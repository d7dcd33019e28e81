// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Platform/FileSystem.h"

namespace qm::testing {

/// The properties of a volume of the fake disk.
struct VolumeKind {
  bool readOnly = false;
  bool caseInsensitive = false;
  std::optional<std::uint64_t> capacity{};  ///< bytes of file contents; null for no limit
};

/// An item of the fake disk.
struct DiskNode : std::enable_shared_from_this<DiskNode> {
  using Entry = std::pair<std::string, std::shared_ptr<DiskNode>>;

  platform::FileType type = platform::FileType::Regular;
  std::string contents;                ///< of a file; the target of a link
  std::vector<Entry> entries;          ///< of a folder, in the order added
  DiskNode* folder = nullptr;          ///< the folder that contains it; null for the root and for removed items
  std::shared_ptr<VolumeKind> volume;  ///< of a mount point
  std::chrono::system_clock::time_point modificationDate;
  std::optional<std::chrono::system_clock::time_point> creationDate;  ///< null: never set
  std::uint16_t finderFlags = 0;
  unsigned owner = 0;
  bool readable = true;
  bool writable = true;
  bool searchable = true;
  bool executable = false;
  bool immutable = false;

  bool isFolder() const { return type == platform::FileType::Directory; }
  bool isLink() const { return type == platform::FileType::SymbolicLink; }
  bool isFile() const { return type == platform::FileType::Regular; }

  /// The folder at which the volume of this item is mounted; null for removed items.
  DiskNode* mountPoint();
  const VolumeKind& kind();
  std::string path() const;
  std::string name() const;
  bool isWithin(const DiskNode& other) const;

  /// Null if there is none of that name.
  const Entry* entry(std::string_view wanted);
  void add(const std::string& itemName, const std::shared_ptr<DiskNode>& item);
  /// By the name in the folder: a file may have two.
  std::shared_ptr<DiskNode> take(const std::string& itemName);

  /// Bytes of the file contents here and below, on this volume.
  std::uint64_t size() const;
  /// A copy of the item and all below; nothing in it is immutable.
  std::shared_ptr<DiskNode> clone() const;
};

}  // namespace qm::testing
