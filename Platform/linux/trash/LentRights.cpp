// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/LentRights.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>
#include <utility>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/rights/Writers.h"
#include "Platform/linux/trash/ItemsVisitor.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::linux_ {
namespace {

using posix::FileError;

constexpr const char* kCapabilities = "security.capability";

bool isDevice(mode_t mode) { return S_ISBLK(mode) || S_ISCHR(mode); }

// Returns 0 and sets `lends`, or returns an error number. The system gives no link such bits.
int lookForLentRights(int item, const struct stat& status, bool& lends) {
  lends = (status.st_mode & kLendingBits) != 0;
  return lends || !S_ISREG(status.st_mode) ? 0 : lookForCapabilities(item, lends);
}

// The item itself, of any type, and everything in it.
FileError visit(int item, ItemsVisitor& visitor) {
  const auto status = statusOf(item);
  if (!status) return errno;
  return S_ISDIR(status->st_mode) ? posix::walkTree(item, ".", visitor) : FileError(visitor.file(item, *status));
}

class LendingSearch : public ItemsVisitor {
 public:
  explicit LendingSearch(uid_t person) : person_(person) {}

  int file(int item, const struct stat& status) override {
    if (isDevice(status.st_mode)) return ENODEV;
    if (status.st_nlink == 1) return 0;
    bool lends = false;
    if (const int error = lookForLentRights(item, status, lends)) return error;
    Names& names = names_[{status.st_dev, status.st_ino}];
    names = {names.seen + 1, status.st_nlink, lends || status.st_uid != person_};
    return 0;
  }

  int fileWithOtherNames() const {
    for (const auto& [number, names] : names_) {
      if (names.isGuarded && names.seen < names.all) return EMLINK;
    }
    return 0;
  }

 private:
  struct Names {
    nlink_t seen = 0;
    nlink_t all = 0;
    bool isGuarded = false;
  };

  const uid_t person_;
  std::map<std::pair<dev_t, ino_t>, Names> names_;
};

class Dropping : public ItemsVisitor {
 public:
  explicit Dropping(uid_t person) : person_(person) {}

  int file(int item, const struct stat& status) override {
    bool lends = false;
    if (const int error = lookForLentRights(item, status, lends)) return error;
    if (!lends) return 0;
    if (status.st_nlink > 1 && status.st_uid != person_) return EMLINK;
    if (const int error = S_ISREG(status.st_mode) ? dropCapabilities(item) : 0) return error;
    return posix::setMode(item, status.st_mode & kPermissions & ~kLendingBits);
  }

  int folderEntered(int folder) override {
    const auto status = statusOf(folder);
    if (!status) return errno;
    const mode_t mode = status->st_mode & kPermissions;
    return (mode & kLendingBits) != 0 ? posix::errorOf(::fchmod(folder, mode & ~kLendingBits)) : 0;
  }

 private:
  const uid_t person_;
};

}  // namespace

int lookForCapabilities(int item, bool& found) {
  found = ::getxattr(posix::pathOfDescriptor(item).c_str(), kCapabilities, nullptr, 0) >= 0;
  return found || errno == ENODATA || errno == ENOTSUP ? 0 : errno;
}

int dropCapabilities(int item) {
  bool found = false;
  if (const int error = lookForCapabilities(item, found)) return error;
  return found ? posix::errorOf(::removexattr(posix::pathOfDescriptor(item).c_str(), kCapabilities)) : 0;
}

FileError obstacleToPuttingBack(int item, uid_t person) {
  const auto status = statusOf(item);
  if (!status) return errno;
  const bool isFolder = S_ISDIR(status->st_mode);
  if (isDevice(status->st_mode)) return ENODEV;
  if (!isFolder && !S_ISREG(status->st_mode)) return ENOTSUP;
  if (isFolder && posix::holdsMountPoint(item)) return EBUSY;
  LendingSearch looking(person);
  FileError error = visit(item, looking);
  return error ? error : FileError(looking.fileWithOtherNames());
}

FileError dropLentRights(int item, uid_t person) {
  Dropping dropping(person);
  return visit(item, dropping);
}

}  // namespace qm::linux_
