// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {

int renameExclusively(int fromFolder, const char* from, int toFolder, const char* to) {
  return errorOf(::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE));
}

int lookupFlag() { return O_PATH; }

int identify(int folder, FolderIdentity& identity) {
  struct statx found {};
  const int flags = AT_EMPTY_PATH | AT_NO_AUTOMOUNT;
  if (::statx(folder, "", flags, STATX_INO | STATX_MNT_ID, &found) != 0) return errno;
  identity.device = makedev(found.stx_dev_major, found.stx_dev_minor);
  identity.inode = found.stx_ino;
  // On a kernel without mount ids, mounts are distinguished by their devices only.
  identity.mount = (found.stx_mask & STATX_MNT_ID) != 0 ? found.stx_mnt_id : 0;
  return 0;
}

bool isProtected(int folder, const char* name) {
  struct statx found {};
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
  if (::statx(folder, name, flags, STATX_TYPE, &found) != 0) return false;
  return (found.stx_attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0;
}

int shareContents(int from, int to) { return errorOf(::ioctl(to, FICLONE, from)); }

/// On Linux an access list is a part of the permissions, so the check of the permissions covers it.
bool isRemovalDenied(int /*folder*/, const char* /*name*/) { return false; }

/// FICLONE needs an existing file: see `shareContents`.
int makeClone(int /*from*/, int /*folder*/, const char* /*name*/, UniqueFd& /*clone*/) { return ENOTSUP; }

int reserveSpace(int file, off_t offset, std::size_t count) {
  return errorOf(::fallocate(file, FALLOC_FL_KEEP_SIZE, offset, static_cast<off_t>(count)));
}

int flushFile(int file) { return errorOf(::fsync(file)); }

/// Flushes the whole volume at once. If each of a thousand small files were flushed by itself, that would take eight
/// times as long.
int flushVolume(int folder) { return errorOf(::syncfs(folder)); }

ssize_t copyRange(int from, int to, off_t offset, std::size_t count) {
  off_t fromOffset = offset;
  off_t toOffset = offset;
  return ::copy_file_range(from, &fromOffset, to, &toOffset, count, 0);
}

int openItself(int folder, const char* name) { return ::openat(folder, name, O_PATH | O_NOFOLLOW | O_CLOEXEC); }

int setOwner(int item, uid_t user, gid_t group) { return errorOf(::fchownat(item, "", user, group, AT_EMPTY_PATH)); }

/// This path leads to the item itself, even if that is a link.
int setMode(int item, mode_t mode) { return errorOf(::chmod(pathOfDescriptor(item).c_str(), mode)); }

int setTimes(int item, const std::array<timespec, 2>& times) {
  return errorOf(::utimensat(AT_FDCWD, pathOfDescriptor(item).c_str(), times.data(), 0));
}

int makeNode(int folder, const char* name, mode_t mode, dev_t device) {
  return errorOf(::mknodat(folder, name, mode, device));
}

int copyCreationTime(int /*item*/, const struct stat& /*attributes*/) { return ENOTSUP; }

/// None: the attributes of inodes (chattr) are left to the administrator and are not copied.
ItemFlags flagsForCopy(const struct stat& /*attributes*/) { return 0; }
int setFlags(int /*item*/, ItemFlags /*flags*/) { return ENOTSUP; }

/// The kernel has no call that sets a birth time on any file system.
int setCreationTime(const std::string& path, std::chrono::system_clock::time_point) {
  struct stat attributes {};
  return ::lstat(path.c_str(), &attributes) != 0 ? errno : ENOTSUP;
}

timespec accessTime(const struct stat& attributes) { return attributes.st_atim; }
timespec modificationTime(const struct stat& attributes) { return attributes.st_mtim; }

}  // namespace qm::posix
