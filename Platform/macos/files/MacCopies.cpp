// SPDX-License-Identifier: MIT

// Implements the functions of Platform/posix/SystemFileCalls.h for copies: clones, creation dates, flags, and whether
// an item may be removed from its folder.
#include <fcntl.h>
#include <sys/attr.h>
#include <sys/clonefile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "Platform/macos/files/ItemRules.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/NamedClone.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/Timespec.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

static_assert(macos::kNoDump == UF_NODUMP && macos::kOpaque == UF_OPAQUE && macos::kHidden == UF_HIDDEN);
static_assert(macos::kUserImmutable == UF_IMMUTABLE && macos::kUserAppend == UF_APPEND);
static_assert(macos::kSystemImmutable == SF_IMMUTABLE && macos::kSystemAppend == SF_APPEND);
static_assert(macos::kRestricted == SF_RESTRICTED && macos::kNoUnlink == SF_NOUNLINK);

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

}  // namespace qm::posix
