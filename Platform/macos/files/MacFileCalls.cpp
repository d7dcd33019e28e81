// SPDX-License-Identifier: MIT

// The bodies of Platform/posix/SystemFileCalls.h.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <sys/stdio.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

constexpr std::uint32_t kProtected = UF_IMMUTABLE | UF_APPEND | SF_IMMUTABLE | SF_APPEND | SF_RESTRICTED | SF_NOUNLINK;

/// Both halves of a volume's identifier in one number.
std::uint64_t numberOf(const fsid_t& volume) {
  return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(volume.val[0])) << 32U) |
         static_cast<std::uint32_t>(volume.val[1]);
}

/// There may be more by the time that they are listed: the list is asked for until it fits.
std::vector<struct statfs> mountedVolumes() {
  std::vector<struct statfs> found;
  for (int count = ::getfsstat(nullptr, 0, MNT_NOWAIT); count >= 0;) {
    found.resize(static_cast<std::size_t>(count) + 4);
    const auto size = static_cast<int>(found.size() * sizeof(struct statfs));
    count = ::getfsstat(found.data(), size, MNT_NOWAIT);
    if (count < 0 || static_cast<std::size_t>(count) == found.size()) continue;
    found.resize(static_cast<std::size_t>(count));
    return found;
  }
  return {};
}

}  // namespace

int renameExclusively(int fromFolder, const char* from, int toFolder, const char* to) {
  return errorOf(::renameatx_np(fromFolder, from, toFolder, to, RENAME_EXCL));
}

/// Until macOS 13 a folder must be readable to be named in.
int lookupFlag() {
  constexpr int kSearch = 0x40000000;  // O_EXEC; O_DIRECTORY comes from the caller
  if (__builtin_available(macOS 13.0, *)) return kSearch;
  return O_RDONLY;
}

int identify(int folder, FolderIdentity& identity) {
  struct stat found {};
  struct statfs volume {};
  if (::fstat(folder, &found) != 0 || ::fstatfs(folder, &volume) != 0) return errno;
  identity.device = found.st_dev;
  identity.inode = found.st_ino;
  identity.mount = numberOf(volume.f_fsid);
  return 0;
}

bool isProtected(int folder, const char* name) {
  struct stat found {};
  return ::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) == 0 && (found.st_flags & kProtected) != 0;
}

bool holdsMountPoint(int folder) {
  const std::string path = shownPath(folder);
  if (path.empty() || path == "/") return false;
  for (const struct statfs& volume : mountedVolumes()) {
    if (std::string_view(volume.f_mntonname).starts_with(path + "/")) return true;
  }
  return false;
}

int reserveSpace(int file, off_t, std::size_t count) {
  fstore_t wanted{};
  wanted.fst_flags = F_ALLOCATEALL;
  wanted.fst_posmode = F_PEOFPOSMODE;
  wanted.fst_length = static_cast<off_t>(count);
  return errorOf(::fcntl(file, F_PREALLOCATE, &wanted));
}

/// The kernel copies nothing from one file to another here but whole files.
ssize_t copyRange(int, int, off_t, std::size_t) { return -1; }

int flushVolume(int folder) {
  struct statfs volume {};
  if (::fstatfs(folder, &volume) != 0) return errno;
  return errorOf(::sync_volume_np(volume.f_mntonname, SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT));
}

/// Not every file system can have the disk write out its own cache.
int flushFile(int file) {
  if (::fcntl(file, F_FULLFSYNC) == 0) return 0;
  return errno == ENOTSUP || errno == EINVAL || errno == ENOTTY ? errorOf(::fsync(file)) : errno;
}

int openItself(int folder, const char* name) {
  return ::openat(folder, name, O_SYMLINK | O_EVTONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

int setOwner(int item, uid_t user, gid_t group) { return errorOf(::fchown(item, user, group)); }
int setMode(int item, mode_t mode) { return errorOf(::fchmod(item, mode)); }
int setTimes(int item, const std::array<timespec, 2>& times) { return errorOf(::futimens(item, times.data())); }

/// FIFOs only, and since macOS 13: before, nothing makes one in a folder that is told by its descriptor.
int makeNode(int folder, const char* name, mode_t mode, dev_t /*device*/) {
  using MakeFifo = int (*)(int, const char*, mode_t);
  static const auto makeFifo = reinterpret_cast<MakeFifo>(::dlsym(RTLD_DEFAULT, "mkfifoat"));
  if (!S_ISFIFO(mode) || makeFifo == nullptr) return ENOTSUP;
  return errorOf(makeFifo(folder, name, mode & ALLPERMS));
}

timespec accessTime(const struct stat& attributes) { return attributes.st_atimespec; }
timespec modificationTime(const struct stat& attributes) { return attributes.st_mtimespec; }

}  // namespace qm::posix
