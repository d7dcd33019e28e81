#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <string>

#include "Platform/posix/UniqueFd.h"

/// The few calls that each system has in its own form. Their bodies are in the system's own folder,
/// which the build adds; everything else here is POSIX. Functions of type int answer 0 or an error
/// number.
namespace qm::posix {

/// Renames only when nothing, not even a dangling link, has the new name. EINVAL or ENOTSUP where the
/// file system cannot promise that (EINVAL also for a folder that would go into itself).
int renameExclusively(int fromFolder, const char* from, int toFolder, const char* to);

/// The access mode of a folder that is opened only to name items in it. Search permission is enough where the system
/// has such a mode; elsewhere the folder must be readable as well.
int lookupFlag();

/// Which folder a descriptor stands for, and through which mount it was reached.
struct FolderIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  std::uint64_t mount = 0;

  bool sameFolder(const FolderIdentity& other) const { return device == other.device && inode == other.inode; }
  bool sameMount(const FolderIdentity& other) const { return device == other.device && mount == other.mount; }
};
int identify(int folder, FolderIdentity& identity);

/// The item may not be renamed or removed, whatever the permissions say (immutable or append-only).
bool isProtected(int folder, const char* name);

/// Access lists of the item or of its folder forbid this process to take the item out of the folder. Asked before
/// anything of the item is copied; says nothing about what permissions, sticky folders and `isProtected` tell.
bool isRemovalDenied(int folder, const char* name);

/// Something is mounted on an item below the folder. False as well when the system does not tell.
bool holdsMountPoint(int folder);

/// Lets a new, empty file have the contents of another without copying them, where the file system can:
/// each keeps its own when the other is changed. Answers 0 or an error number; ENOTSUP where `makeClone` does this.
int shareContents(int from, int to);

/// Makes a file that shares the contents of another in the same way, where the system makes such a file and its name in
/// one step. Nothing has the name before. On success the file belongs to this process, nothing forbids to change it,
/// and `clone` is open for its attributes to be set; until then it may have any that the other has, but no bits that
/// lend rights. On failure nothing was made. Answers 0 or an error number; ENOTSUP where `shareContents` does this.
int makeClone(int from, int folder, const char* name, UniqueFd& clone);

/// Has space set aside for what will be written to a part of a file, which makes that quicker; the size of
/// the file stays as it is. Answers 0 or an error number.
int reserveSpace(int file, off_t offset, std::size_t count);

/// Writes to the disk what was changed on the volume that a folder is on, and waits for it. What could not be written
/// since the folder was opened is told. Answers 0 or an error number.
int flushVolume(int folder);

/// Copies up to `count` bytes at `offset` within the kernel; -1 where that cannot be done, 0 at the end.
ssize_t copyRange(int from, int to, off_t offset, std::size_t count);

/// Copies the extended attributes, access lists among them, as far as this process and the other
/// file system take them. Those that grant rights to a program go only to the same owner.
enum class OwnerKept : bool { No, Yes };
int copyExtendedAttributes(int from, int to, OwnerKept ownerKept);

/// The same for an item that is not opened, a link for example; of one that has vanished there is nothing to copy.
/// `to` comes from `openItself`.
int copyExtendedAttributes(int fromFolder, const std::string& from, int to);

/// Opens an item of any kind to look at it and to change its attributes, by these functions only: not what a link
/// leads to, and without waking a device. -1 on failure.
int openItself(int folder, const char* name);
int setOwner(int item, uid_t user, gid_t group);
int setMode(int item, mode_t mode);
int setTimes(int item, const std::array<timespec, 2>& times);

/// Gives an item the creation date of another, whose attributes these are. Comes after `setTimes`, which may change
/// that date. ENOTSUP where the system keeps it to itself.
int copyCreationTime(int item, const struct stat& attributes);

/// What is said of an item beside all this, for example that it is hidden or may not be changed.
using ItemFlags = std::uint32_t;
/// The flags that a copy of the item gets from this process; 0 for none.
ItemFlags flagsForCopy(const struct stat& attributes);
/// Gives an item these flags and no others. With them nothing else of it may be changeable any more, its name included.
/// ENOTSUP where there are none.
int setFlags(int item, ItemFlags flags);

/// Makes a FIFO, a socket or a device, which `mode` says, where nothing has the name. ENOTSUP for a kind that the
/// system cannot make in a folder that is told by its descriptor.
int makeNode(int folder, const char* name, mode_t mode, dev_t device);

/// Takes away the access lists that a new item got from its folder.
void dropInheritedAccess(int item);

/// Sets when the item was made. ENOTSUP where the system keeps that date to itself.
int setCreationTime(const std::string& path, std::chrono::system_clock::time_point date);

timespec accessTime(const struct stat& attributes);
timespec modificationTime(const struct stat& attributes);

}  // namespace qm::posix
