// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>

#include "Platform/posix/UniqueFd.h"

/// The few calls that differ between systems. Each system's own folder implements them, and the build adds it;
/// everything else here is POSIX. Functions of type int return 0 or an error number.
namespace qm::posix {

/// Renames only if nothing, not even a dangling link, has the new name. EINVAL or ENOTSUP if the file system cannot
/// guarantee that (EINVAL also for a folder that would be put into itself).
int renameExclusively(int fromFolder, const char* from, int toFolder, const char* to);

/// The access mode of a folder that is opened only for calls that take its descriptor and the name of an item in it.
/// Search permission is enough if the system has such a mode; elsewhere the folder must be readable as well.
int lookupFlag();

/// Identifies the folder of a descriptor, and the mount through which it was reached.
struct FolderIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  std::uint64_t mount = 0;

  bool sameFolder(const FolderIdentity& other) const { return device == other.device && inode == other.inode; }
  bool sameMount(const FolderIdentity& other) const { return device == other.device && mount == other.mount; }
};
int identify(int folder, FolderIdentity& identity);

/// The item may not be renamed or removed, whatever its permissions (immutable or append-only).
bool isProtected(int folder, const char* name);

/// Access lists of the item or of its folder forbid this process to remove the item from the folder. Called before
/// anything of the item is copied. Does not cover permissions, sticky folders and `isProtected`.
bool isRemovalDenied(int folder, const char* name);

/// Something is mounted on an item below the folder. False also if the system does not tell.
bool holdsMountPoint(int folder);

/// Makes a new, empty file share the contents of another instead of copying them, if the file system can. Each file
/// keeps its contents when the other is changed. Returns 0 or an error number; ENOTSUP on systems where `makeClone`
/// does this.
int shareContents(int from, int to);

/// Creates a file that shares the contents of another in the same way, on systems that create such a file together with
/// its name. Nothing may have the name before. On success the file belongs to this process, nothing forbids changing
/// it, and `clone` is open for its attributes to be set. Until then it may have any attributes of the other, but no
/// set-id bits. On failure nothing was created. Returns 0 or an error number; ENOTSUP on systems where `shareContents`
/// does this.
int makeClone(int from, int folder, const char* name, UniqueFd& clone);

/// Reserves space for a part of a file, which makes writing it faster; the size of the file does not change. Returns 0
/// or an error number.
int reserveSpace(int file, off_t offset, std::size_t count);

/// Flushes all changes on the volume of a folder to the disk, and waits for that. Reports write errors since the folder
/// was opened. Returns 0 or an error number.
int flushVolume(int folder);

/// Flushes a file, or the list of a folder, to the disk, and waits for that. Returns 0 or an error number.
int flushFile(int file);

/// Copies up to `count` bytes at `offset` within the kernel. Returns -1 if that is impossible, 0 at the end.
ssize_t copyRange(int from, int to, off_t offset, std::size_t count);

/// Copies the extended attributes, including access lists, as far as this process and the other file system accept
/// them. On some systems an attribute can grant rights to a program. It is copied only if the copy has the same owner.
enum class OwnerKept : bool { No, Yes };
int copyExtendedAttributes(int from, int to, OwnerKept ownerKept);

/// The same for an item that is not opened, a link for example. If it has vanished, nothing is copied. `to` comes from
/// `openItself`.
int copyExtendedAttributes(int fromFolder, const std::string& from, int to);

/// Opens an item of any kind, to examine it and to change its attributes through these functions only. Does not follow
/// a link. On Linux this takes no right to the item and wakes no device. On a Mac the item must be readable (of a
/// folder search permission is enough since macOS 13), a device is opened, and a socket gives EOPNOTSUPP. Returns -1 on
/// failure.
int openItself(int folder, const char* name);
int setOwner(int item, uid_t user, gid_t group);
int setMode(int item, mode_t mode);
int setTimes(int item, const std::array<timespec, 2>& times);

/// Gives an item the creation date of another, whose attributes these are. Call it after `setTimes`, which may change
/// that date. ENOTSUP if the system does not allow that.
int copyCreationTime(int item, const struct stat& attributes);

/// An item's other flags, for example that it is hidden or immutable.
using ItemFlags = std::uint32_t;
/// The flags that this process gives to a copy of the item; 0 for none.
ItemFlags flagsForCopy(const struct stat& attributes);
/// Sets exactly these flags. They may make it impossible to change anything else of the item, even its name. ENOTSUP if
/// the system has no flags.
int setFlags(int item, ItemFlags flags);

/// Creates a FIFO, a socket or a device, according to `mode`; nothing may have the name. ENOTSUP for a kind that the
/// system cannot create relative to a folder's descriptor.
int makeNode(int folder, const char* name, mode_t mode, dev_t device);

/// Removes the access lists that a new item inherited from its folder, as far as the system allows that.
void dropInheritedAccess(int item);

/// Sets the creation date. ENOTSUP if the system does not allow that.
int setCreationTime(const std::string& path, std::chrono::system_clock::time_point date);

timespec accessTime(const struct stat& attributes);
timespec modificationTime(const struct stat& attributes);

}  // namespace qm::posix
