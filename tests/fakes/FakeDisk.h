// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/FileSystem.h"
#include "Platform/Status.h"
#include "tests/fakes/DiskNode.h"
#include "tests/fakes/FakeClock.h"

namespace qm::testing {

/// Whose rights apply.
enum class Access { User, Administrator };

/// The result for one of the system's error numbers; 0 is success.
platform::Status statusOf(int error);

inline constexpr std::size_t longestName = 255;

/// A disk in memory, on which all fake services work: files, folders, links, volumes. It begins with an empty root
/// folder. Listings are in the order in which entries were created. Links are followed as in POSIX, up to 40 of them;
/// paths end at 4095 bytes, names at 255. Any thread.
class FakeDisk {
 public:
  explicit FakeDisk(FakeClock& clock);

  // Arranging, by path, regardless of rights. Parent folders are created; existing items are replaced.

  void addFile(const std::string& path, const std::string& contents = "");
  void addExecutable(const std::string& path);
  void addFolder(const std::string& path);
  void addLink(const std::string& path, const std::string& target);
  /// Mounts an empty volume on a new folder.
  void addVolume(const std::string& path, const VolumeKind& kind = {});
  /// Changes the volume that is mounted on a folder ("/" for the root volume).
  void setVolumeKind(const std::string& path, const VolumeKind& kind);
  void remove(const std::string& path);

  // The item itself; a link is not followed. The item must be there.

  /// Whether the user may read the file or list the folder.
  void setReadable(const std::string& path, bool readable) { node(path).readable = readable; }
  /// Whether the user may write the file or change the folder's entries.
  void setWritable(const std::string& path, bool writable) { node(path).writable = writable; }
  /// Whether the user may search the folder.
  void setSearchable(const std::string& path, bool searchable) { node(path).searchable = searchable; }
  void setExecutable(const std::string& path, bool executable) { node(path).executable = executable; }
  void setLocked(const std::string& path, bool immutable) { node(path).immutable = immutable; }
  void setOwner(const std::string& path, unsigned owner) { node(path).owner = owner; }
  void setModificationDate(const std::string& path, std::chrono::system_clock::time_point date) {
    node(path).modificationDate = date;
  }

  void setFinderFlags(const std::string& path, std::uint16_t flags) { node(path).finderFlags = flags; }
  /// Whether creation dates can be set, as on the Mac; at first they cannot.
  void setKeepsCreationDates(bool keeps);
  std::optional<std::chrono::system_clock::time_point> creationDate(const std::string& path) {
    return node(path).creationDate;
  }

  /// Makes the user a superuser, for whom rights are not checked.
  void setSuperuser(bool superuser);
  /// The user id that new items get as their owner.
  void setUser(unsigned number);

  /// The item is removed, or a file is created, when the fake clock has moved by this much from now.
  void disappearAfter(const std::string& path, FakeClock::Span span);
  void appearAfter(const std::string& path, FakeClock::Span span, const std::string& contents = "");

  // Examining, regardless of rights. The item itself; a link is not followed.

  bool has(const std::string& path);
  /// The bytes of a file; null if there is none.
  std::optional<std::string> fileContents(const std::string& path);
  std::optional<std::string> linkTarget(const std::string& path);
  unsigned owner(const std::string& path) { return node(path).owner; }
  bool isLocked(const std::string& path) { return node(path).immutable; }
  /// Everything below a folder, sorted: "/a/file", "/a/folder/", "/a/link -> target".
  std::vector<std::string> tree(const std::string& path = "/");

  // Operations with rights and the system's error numbers (0 is success), for the services and for the effects of
  // tools.

  bool exists(const std::string& path, Access access = Access::User);
  bool isDirectory(const std::string& path, Access access = Access::User);
  bool isExecutableFile(const std::string& path);
  bool isWritable(const std::string& path);
  std::optional<std::vector<std::string>> list(const std::string& path, Access access = Access::User);
  std::optional<platform::ItemAttributes> attributes(const std::string& path);
  std::optional<std::string> target(const std::string& path);
  /// The folder at which the volume of an item, or of the folder that would contain it, is mounted.
  std::string mountPointOf(const std::string& path);

  int move(const std::string& source, const std::string& destination, Access access = Access::User);
  /// A second name; in the same folder only.
  int link(const std::string& source, const std::string& destination);
  int copy(const std::string& source, const std::string& destination, Access access = Access::User);
  int makeFolders(const std::string& path, Access access = Access::User);
  int makeLink(const std::string& path, const std::string& target, Access access = Access::User);
  int removeTree(const std::string& path, Access access = Access::User);
  int removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable);
  int writeFile(const std::string& path, std::string_view contents, Access access = Access::User);
  int setImmutable(const std::string& path, bool immutable);
  std::optional<bool> isImmutable(const std::string& path);
  /// Fails with ENOTSUP unless dates can be set (`setKeepsCreationDates`).
  int setCreationDate(const std::string& path, std::chrono::system_clock::time_point date);
  /// Sets the time of an item to now.
  int touch(const std::string& path);

  /// An open file, which stays when its name is removed.
  std::shared_ptr<DiskNode> open(const std::string& path);
  std::size_t length(const DiskNode& file);
  /// The item itself, a link not followed; null if nothing is there.
  std::shared_ptr<DiskNode> item(const std::string& path);
  /// Where an item is now; null if it was removed.
  std::optional<std::string> pathOf(const DiskNode& item);
  std::optional<std::uint16_t> finderFlags(const DiskNode& item);
  int setFinderFlags(DiskNode& item, std::uint16_t flags);
  /// Writes into an open file, as much as the volume holds, and advances the position.
  int write(DiskNode& file, std::size_t& position, std::string_view data);
  /// Shortens an open file.
  void cutOff(DiskNode& file, std::size_t length);

 private:
  struct Place;
  enum class Follow { No, Yes };
  struct Planned {
    std::string path;
    FakeClock::Span time;
    std::optional<std::string> contents;  // null: it disappears
  };
  using Lock = std::unique_lock<std::recursive_mutex>;

  Lock settled();
  DiskNode& node(const std::string& path);
  Place find(const std::string& path, Follow follow, Access access);
  Place walk(std::vector<std::string> rest, Follow follow, Access access);
  bool may(bool right, Access access) const { return right || superuser_ || access == Access::Administrator; }
  std::shared_ptr<DiskNode> make(platform::FileType type, const std::string& contents);
  void arrange(const std::string& path, const std::shared_ptr<DiskNode>& item);
  void changed(DiskNode& folder);
  int folderError(DiskNode& folder, Access access) const;
  int changeError(DiskNode& item) const;
  int removalError(const DiskNode& item, Access access) const;
  int copyError(const DiskNode& item, Access access) const;
  int hollowError(const DiskNode& item, const std::vector<std::string>& expendable) const;
  int put(const Place& place, const std::shared_ptr<DiskNode>& item, Access access);
  int removeItem(DiskNode& folder, const std::string& name, Access access);
  int moveAcross(const Place& from, const Place& to, Access access);
  static int spaceError(DiskNode& folder, std::uint64_t bytes);
  static void listTree(const DiskNode& folder, const std::string& path, std::vector<std::string>& lines);

  FakeClock& clock_;
  std::recursive_mutex mutex_;
  std::shared_ptr<DiskNode> root_;
  bool superuser_ = false;
  bool keepsCreationDates_ = false;
  unsigned user_ = 501;
  std::vector<Planned> planned_;
};

}  // namespace qm::testing
