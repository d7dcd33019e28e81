// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Identifies an item in the whole system. The mount counts as well as the device, because nothing can be renamed from
/// one mount of a device to another.
struct ItemIdentity {
  std::uint64_t mount = 0;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  uid_t owner = 0;
  mode_t mode = 0;

  bool sameVolume(const ItemIdentity& other) const { return mount == other.mount && device == other.device; }
  bool sameItem(const ItemIdentity& other) const { return sameVolume(other) && inode == other.inode; }
};

/// The item of a descriptor, or of a name in the folder of a descriptor; a link is not followed. Null, with `errno`
/// set, if there is none.
std::optional<ItemIdentity> itemIdentity(int folder, const char* name = "");

/// The mounted volumes as the process saw them at one moment.
class MountTable {
 public:
  /// Reads the table now.
  MountTable();
  /// Reads the table from a descriptor.
  explicit MountTable(int table);
  /// Whether the system shows the table at all; otherwise nothing is known of mounts.
  explicit operator bool() const { return !text_.empty(); }
  /// The path of a mount; null if it is not visible to the process.
  std::optional<std::string> mountPoint(std::uint64_t mount) const;
  /// Whether anything is mounted at or below a path.
  bool hasMountAtOrBelow(const std::string& path) const;
  /// Whether anything is mounted below a path; a mount at the path itself does not count.
  bool containsMountPoint(const std::string& path) const;

 private:
  template <class IsWanted>
  bool hasMountAt(IsWanted isWanted) const;

  std::string text_;
};

/// The mounted volumes, read again only after the kernel has reported a change, because listing them takes longer than
/// moving an item. Any thread.
class MountedVolumes {
 public:
  std::shared_ptr<const MountTable> now();

 private:
  bool haveChanged() const;

  std::mutex mutex_;
  posix::UniqueFd file_;  // open from the first call on; it keeps no volume busy
  std::shared_ptr<const MountTable> table_;
};

}  // namespace qm::linux_
