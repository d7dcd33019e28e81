#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// What a name leads to, told apart from everything else in the system. The mount counts as well as the
/// device: nothing can be renamed from one mount of a device to another.
struct ItemIdentity {
  std::uint64_t mount = 0;
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  uid_t owner = 0;
  mode_t mode = 0;

  bool sameVolume(const ItemIdentity& other) const { return mount == other.mount && device == other.device; }
  bool sameItem(const ItemIdentity& other) const { return sameVolume(other) && inode == other.inode; }
};

/// The item behind a descriptor, or a name in the folder of a descriptor; a link is not followed. Nil,
/// with the error number set, when there is none.
std::optional<ItemIdentity> itemIdentity(int folder, const char* name = "");

/// The mounted volumes as the process saw them at one moment.
class MountTable {
 public:
  /// Reads them now.
  MountTable();
  /// Reads them from a descriptor of the system's table.
  explicit MountTable(int table);
  /// Whether the system shows the table at all; nothing is known of mounts otherwise.
  explicit operator bool() const { return !text_.empty(); }
  /// Where a mount is attached; nil when it is not in the process's view.
  std::optional<std::string> mountPoint(std::uint64_t mount) const;
  /// Something is mounted at or below a path.
  bool hasMountBelow(const std::string& path) const;
  /// Something is mounted below a path; what is mounted at the path itself does not count.
  bool hasMountInside(const std::string& path) const;

 private:
  template <class IsWanted>
  bool hasMountAt(IsWanted isWanted) const;

  std::string text_;
};

/// The mounted volumes, read again only after the system has told of a change: it takes longer to list
/// them than to move an item. Any thread.
class MountedVolumes {
 public:
  std::shared_ptr<const MountTable> now();

 private:
  bool haveChanged() const;

  std::mutex mutex_;
  posix::UniqueFd file_;  // open from the first look on; it holds no volume
  std::shared_ptr<const MountTable> table_;
};

}  // namespace qm::linux_
