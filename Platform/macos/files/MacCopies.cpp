// SPDX-License-Identifier: MIT

// Implements the functions of Platform/posix/SystemFileCalls.h for copies: clones, creation dates, flags, and whether
// an item may be removed from its folder.
#include <fcntl.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/macos/files/ItemRules.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

/// The flags that the owner of an item may set. Flags that the file system itself maintains are not copied.
constexpr std::uint32_t kOwnersFlags = UF_NODUMP | UF_IMMUTABLE | UF_APPEND | UF_OPAQUE | UF_HIDDEN;
static_assert(macos::kUserImmutable == UF_IMMUTABLE && macos::kUserAppend == UF_APPEND);
static_assert(macos::kSystemImmutable == SF_IMMUTABLE && macos::kSystemAppend == SF_APPEND);
static_assert(macos::kRestricted == SF_RESTRICTED && macos::kNoUnlink == SF_NOUNLINK);

int openOwn(int folder, const char* name, UniqueFd& clone) {
  struct stat found {};
  clone.reset(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!clone || ::fstat(clone.get(), &found) != 0) return errno;
  return isOwnNewFile(found, ::geteuid()) ? 0 : ESTALE;
}

/// Removes the clone. If somebody has put another item in its place, that item stays.
void removeOwn(int folder, const char* name) {
  struct stat found {};
  if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (isOwnNewFile(found, ::geteuid())) ::unlinkat(folder, name, 0);
}

timespec timeOf(std::chrono::system_clock::time_point date) {
  const auto since = date.time_since_epoch();
  const auto whole = std::chrono::floor<std::chrono::seconds>(since);
  return {.tv_sec = static_cast<time_t>(whole.count()),
          .tv_nsec = static_cast<long>(std::chrono::nanoseconds(since - whole).count())};
}

attrlist creationTime() {
  attrlist which{};
  which.bitmapcount = ATTR_BIT_MAP_COUNT;
  which.commonattr = ATTR_CMN_CRTIME;
  return which;
}

}  // namespace

/// Not possible: on a Mac a clone is always a new file, see `makeClone`.
int shareContents(int /*from*/, int /*to*/) { return ENOTSUP; }

int makeClone(int from, int folder, const char* name, UniqueFd& clone) {
  struct stat source {};
  if (::fstat(from, &source) != 0) return errno;
  // ENOTSUP would mean that the volume makes no clones.
  if (!macos::mayBeCloned(source.st_mode, source.st_flags)) return EPERM;
  if (::fclonefileat(from, folder, name, CLONE_NOFOLLOW | CLONE_NOOWNERCOPY) != 0) return errno;
  const int error = openOwn(folder, name, clone);
  if (error == 0) {
    dropInheritedAccess(clone.get());
  } else {
    removeOwn(folder, name);
  }
  return error;
}

/// Asks the system, which takes access lists into account. A link is not asked about, because the call would check the
/// link's target.
bool isRemovalDenied(int folder, const char* name) {
  struct stat found {};
  if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0 || S_ISLNK(found.st_mode)) return false;
  return ::faccessat(folder, name, _DELETE_OK, AT_EACCESS) != 0 && (errno == EACCES || errno == EPERM);
}

int copyCreationTime(int item, const struct stat& attributes) {
  timespec time = attributes.st_birthtimespec;
  attrlist which = creationTime();
  return errorOf(::fsetattrlist(item, &which, &time, sizeof time, 0));
}

int setCreationTime(const std::string& path, std::chrono::system_clock::time_point date) {
  timespec time = timeOf(date);
  attrlist which = creationTime();
  return errorOf(::setattrlist(path.c_str(), &which, &time, sizeof time, FSOPT_NOFOLLOW));
}

ItemFlags flagsForCopy(const struct stat& attributes) { return attributes.st_flags & kOwnersFlags; }

int setFlags(int item, ItemFlags flags) { return errorOf(::fchflags(item, flags)); }

}  // namespace qm::posix
