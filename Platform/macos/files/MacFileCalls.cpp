// SPDX-License-Identifier: MIT

// Implements the functions of Platform/posix/SystemFileCalls.h.
#include <copyfile.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/stdio.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "Platform/macos/files/FileRules.h"
#include "Platform/posix/AttributeErrors.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/NamedClone.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/SecondTry.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/Timespec.h"
#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/WholeList.h"
#include "Platform/posix/rights/SystemRights.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::posix {
namespace {

attrlist creationTime() {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_CRTIME;
  return which;
}

/// Both halves of a volume's identifier in one number.
std::uint64_t numberOf(const fsid_t& volume) {
  return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(volume.val[0])) << 32U) |
         static_cast<std::uint32_t>(volume.val[1]);
}

std::vector<std::string> mountPoints() {
  const auto volumes = wholeList<struct statfs>([](struct statfs* found, int room) {
    return ::getfsstat(found, room * static_cast<int>(sizeof(struct statfs)), MNT_NOWAIT);
  });
  std::vector<std::string> points;
  for (const struct statfs& volume : volumes) points.emplace_back(volume.f_mntonname);
  return points;
}

}  // namespace

int renameExclusively(int fromFolder, const char* from, int toFolder, const char* to) {
  return errorOf(::renameatx_np(fromFolder, from, toFolder, to, RENAME_EXCL));
}

int lookupFlag() {
  if (__builtin_available(macOS 13.0, *)) return macos::lookupMode(true);
  return macos::lookupMode(false);
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
  const auto found = statusIn(folder, name);
  return found && macos::isProtectedBy(found->st_flags);
}

bool holdsMountPoint(int folder) { return macos::holdsAny(shownPath(folder), mountPoints()); }

/// On a Mac the kernel can copy only whole files, not parts of them. Space is reserved only for such parts.
ssize_t copyRange(int, int, off_t, std::size_t) { return -1; }
int reserveSpace(int, off_t, std::size_t) { return ENOTSUP; }

int flushVolume(int folder) {
  return flushAsFarAsSupported(
      [&] { return errorReturned(::fsync_volume_np(folder, SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT)); },
      [&] { return errorOf(::fsync(folder)); });
}

int flushFile(int file) {
  return flushAsFarAsSupported([&] { return errorOf(::fcntl(file, F_FULLFSYNC)); },
                               [&] { return errorOf(::fsync(file)); });
}

int openItself(int folder, const char* name) {
  return openItemOrFolder(
      [&] { return ::openat(folder, name, O_SYMLINK | O_EVTONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); },
      [&] { return ::openat(folder, name, lookupFlag() | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
}

int setOwner(int item, uid_t user, gid_t group) { return errorOf(::fchown(item, user, group)); }
int setMode(int item, mode_t mode) { return errorOf(::fchmod(item, mode)); }
int setTimes(int item, const std::array<timespec, 2>& times) { return errorOf(::futimens(item, times.data())); }

/// The call is there since macOS 13.
int makeNode(int folder, const char* name, mode_t mode, dev_t /*device*/) {
  static const auto makeFifo = reinterpret_cast<MakeFifoAt>(::dlsym(RTLD_DEFAULT, "mkfifoat"));
  return makeFifoOnly(makeFifo, folder, name, mode);
}

timespec accessTime(const struct stat& attributes) { return attributes.st_atimespec; }
timespec modificationTime(const struct stat& attributes) { return attributes.st_mtimespec; }

/// Not possible: on a Mac a clone is always a new file, see `makeClone`.
int shareContents(int /*from*/, int /*to*/) { return ENOTSUP; }

int makeClone(int from, int folder, const char* name, UniqueFd& clone) {
  struct stat source {};
  if (::fstat(from, &source) != 0) return errno;
  const auto make = [&] { return errorOf(::fclonefileat(from, folder, name, CLONE_NOFOLLOW | CLONE_NOOWNERCOPY)); };
  return makeNamedClone(macos::obstacleToCloning(source.st_mode, source.st_flags), make, {folder, name}, clone);
}

bool isRemovalDenied(int folder, const char* name) {
  return isRemovalDeniedBy([&] { return errorOf(::faccessat(folder, name, _DELETE_OK, AT_EACCESS)); }, folder, name);
}

int copyCreationTime(int item, const struct stat& attributes) {
  timespec time = attributes.st_birthtimespec;
  attrlist which = creationTime();
  return errorOf(::fsetattrlist(item, &which, &time, sizeof time, 0));
}

int setCreationTime(const std::string& path, std::chrono::system_clock::time_point date) {
  timespec time = timespecOf(date);
  attrlist which = creationTime();
  return errorOf(::setattrlist(path.c_str(), &which, &time, sizeof time, FSOPT_NOFOLLOW));
}

ItemFlags flagsForCopy(const struct stat& attributes) { return macos::flagsOfCopy(attributes.st_flags); }

int setFlags(int item, ItemFlags flags) { return errorOf(::fchflags(item, flags)); }

/// On a Mac no attribute grants rights to a program, so it does not matter who owns the copy.
int copyExtendedAttributes(int from, int to, OwnerKept /*ownerKept*/) {
  return copyAllParts([&] { return errorOf(::fcopyfile(from, to, nullptr, COPYFILE_XATTR)); },
                      [&] { return errorOf(::fcopyfile(from, to, nullptr, COPYFILE_ACL)); });
}

int copyExtendedAttributes(int fromFolder, const std::string& from, int to) {
  return copyOfOpened([&] { return openItself(fromFolder, from.c_str()); },
                      [&](int source) { return copyExtendedAttributes(source, to, OwnerKept::No); });
}

/// Replaces the inherited list by an empty one.
void dropInheritedAccess(int item) {
  acl_t const none = ::acl_init(0);
  if (none == nullptr) return;
  static_cast<void>(::acl_set_fd_np(item, none, ACL_TYPE_EXTENDED));
  ::acl_free(none);
}

}  // namespace qm::posix
