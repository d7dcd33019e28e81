// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/Status.h"

namespace qm::platform {

/// The kinds of items.
enum class FileType { Regular, Directory, SymbolicLink, Other };

/// The attributes of the item itself; a symbolic link is not followed.
struct ItemAttributes {
  FileType type = FileType::Regular;                       ///< of the item itself
  std::uint64_t size = 0;                                  ///< bytes
  std::chrono::system_clock::time_point modificationDate;  ///< when it was last changed
};

/// An entry of a folder. The name is valid during the call that passes the entry.
struct DirectoryEntry {
  std::string_view name;              ///< a single path component
  FileType type = FileType::Regular;  ///< of the item itself
  std::uint64_t size = 0;             ///< bytes; only if sizes are requested, and never of a folder
};
/// Whether the sizes of entries are requested, which may take longer.
enum class EntrySizes : bool { No, Yes };

/// A file open for writing. Closed when the last owner releases it. One thread at a time.
class FileHandle {
 public:
  virtual ~FileHandle() = default;
  /// The next data goes to the end of the file.
  virtual Status seekToEndOfFile() = 0;
  /// Writes all bytes at the current position or fails; some of them may then be on disk.
  virtual Status writeData(std::string_view data) = 0;
  /// Call it after a failed `writeData` that began at the end of the file. Cuts off the part that the write left, and
  /// moves the position back to where the write began. Fails, and changes nothing, if something else has been appended
  /// since. Success if nothing was left.
  virtual Status removeIncompleteData() = 0;
};

/// The plain file operations, as the current user. Stateless: any thread, any number at a time.
/// Paths are absolute byte strings; a path with a NUL byte names nothing. Errors are returned,
/// never thrown.
class FileSystem {
 public:
  virtual ~FileSystem() = default;

  /// Something is reachable at the path. Links are followed: a dangling one reads as absent.
  virtual bool fileExists(const std::string& path) const = 0;
  /// The path leads to a folder. Links are followed.
  virtual bool isDirectory(const std::string& path) const = 0;
  /// The path leads to a regular file that the process may execute. Links are followed.
  virtual bool isExecutableFile(const std::string& path) const = 0;
  /// The path leads to an item that the process may write. For a folder this means that the process has write
  /// permission for it. Links are followed.
  virtual bool isWritableFile(const std::string& path) const = 0;
  /// The names in a folder, one level, including hidden ones but not "." and "..", in the system's order. Null when the
  /// folder cannot be listed. A link to a folder is followed.
  virtual std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) const = 0;
  /// Passes the entries of a folder to `visit` as they are read, in the order of `contentsOfDirectory`, with their
  /// type. None is kept, however many there are. Entries that cannot be reached are left out: all in a folder that may
  /// be listed but not searched, and those whose path is longer than the system accepts. Returns whether the folder was
  /// listed to its end; if not, ignore what was passed.
  virtual bool visitDirectory(const std::string& path, EntrySizes sizes,
                              const std::function<void(const DirectoryEntry&)>& visit) const = 0;
  /// The item itself (a link is not followed); null when nothing is there.
  virtual std::optional<ItemAttributes> attributesOfItem(const std::string& path) const = 0;
  /// The target of a symbolic link, verbatim; null when the item is not a link.
  virtual std::optional<std::string> destinationOfSymbolicLink(const std::string& path) const = 0;

  /// Moves an item. A link is moved itself, not its target. Never replaces: anything at the destination, even a
  /// dangling link, makes it fail. Across volumes the item is copied (see `copyItem`) and then removed. If the copy
  /// fails, the source is whole and no part of the copy is left.
  virtual Status moveItem(const std::string& source, const std::string& destination) = 0;
  /// Gives a file, or a link itself, a second name on its volume; the first exists throughout. Never replaces. Fails
  /// where the volume allows only one name for an item.
  virtual Status linkItem(const std::string& source, const std::string& destination) = 0;
  /// Copies a file or a tree with modes, times, extended attributes and, where the process may set it, the owner; links
  /// as links. Never replaces and never leaves a partial copy under the final name.
  virtual Status copyItem(const std::string& source, const std::string& destination) = 0;
  /// Creates a folder and the missing ones above it, with default attributes. An existing folder is a success; anything
  /// else in the way is a failure.
  virtual Status createDirectory(const std::string& path) = 0;
  /// Removes a file, a link (never its target) or a whole tree. Does not cross into another
  /// mounted file system. Stops at the first failure and returns it.
  virtual Status removeItem(const std::string& path) = 0;
  /// Removes a folder that contains, at any depth, only folders and expendable items: items that are not folders and
  /// whose name is in `expendable`. Everything is checked before anything is removed. Anything else, also a link with
  /// another name, gives ENOTEMPTY. A folder in it that cannot be listed gives EACCES, another mounted file system
  /// EBUSY, and an item that may not be removed EPERM. What appears meanwhile is never removed; some of the expendable
  /// items and empty folders may then be gone. A link to a folder is not a folder.
  virtual Status removeHollowFolder(const std::string& path, const std::vector<std::string>& expendable) = 0;

  /// Sets the creation date of an item. A link is not followed. ENOTSUP where the system does not allow that.
  virtual Status setCreationDate(const std::string& path, std::chrono::system_clock::time_point date) = 0;

  /// Writes a file so that readers see the old contents or the new, never a part. A symbolic link at the path is
  /// replaced, not written through. The folder must exist. Does not wait for the disk: after a power failure the file
  /// may be empty.
  virtual Status writeFileAtomically(const std::string& path, std::string_view contents) = 0;
  /// Opens an existing regular file for writing without truncating it; null when there is none or
  /// it may not be written. Never creates a file, never follows a link at the last component.
  virtual std::shared_ptr<FileHandle> openForWriting(const std::string& path) = 0;
};

}  // namespace qm::platform
