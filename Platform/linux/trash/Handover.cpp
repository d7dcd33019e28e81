// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/Handover.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <utility>
#include <vector>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/linux/rights/Writers.h"
#include "Platform/linux/trash/ItemsVisitor.h"
#include "Platform/linux/trash/LentRights.h"
#include "Platform/posix/TreeWalk.h"

namespace qm::linux_ {
namespace {

using posix::FileError;

constexpr mode_t kForOthers = S_IRWXG | S_IRWXO;

// The mode without the bits that a file may not keep.
mode_t keptMode(const struct stat& file, Reached reached) {
  const mode_t mode = file.st_mode & kPermissions & ~kLendingBits;
  return reached == Reached::Yes ? mode : mode & ~kForOthers;
}

bool isDevice(const struct stat& file) { return S_ISCHR(file.st_mode) || S_ISBLK(file.st_mode); }

// Anything but a folder. A link has no permissions of its own.
int settleFile(int item, const struct stat& file, Reached reached) {
  if (S_ISLNK(file.st_mode)) return 0;
  if (const int error = S_ISREG(file.st_mode) ? dropCapabilities(item) : 0) return error;
  const mode_t mode = keptMode(file, reached);
  return mode == (file.st_mode & kPermissions) ? 0 : posix::setMode(item, mode);
}

// Returns 0 and sets `changes`, or returns an error number.
int lookForChanges(int item, const struct stat& file, Reached reached, bool& changes) {
  if (S_ISLNK(file.st_mode)) return 0;
  if (const int error = S_ISREG(file.st_mode) ? lookForCapabilities(item, changes) : 0) return error;
  changes = changes || keptMode(file, reached) != (file.st_mode & kPermissions);
  return 0;
}

// The folder keeps its group, because members of another one could otherwise list it.
int giveFolder(int folder, const FileSystemIdentity& person) {
  constexpr auto kSameGroup = static_cast<gid_t>(-1);
  struct stat found {};
  if (::fstat(folder, &found) != 0) return errno;
  if (found.st_uid != person.uid && ::fchown(folder, person.uid, kSameGroup) != 0) return errno;
  const mode_t mode = (found.st_mode & kPermissions & ~kLendingBits) | S_IRWXU;
  return mode == (found.st_mode & kPermissions) ? 0 : posix::errorOf(::fchmod(folder, mode));
}

/// What both walks share: what the user can reach.
class ReachVisitor : public ItemsVisitor {
 public:
  ReachVisitor(const FileSystemIdentity& person, Reached reached) : identity_(person), reached_{reached} {}

  int folderEntered(int folder) override {
    return reached_.back() == Reached::Yes ? lookWhetherOpen(folder) : noteReached(Reached::No);
  }
  int folderLeft(int folder) override {
    reached_.pop_back();
    return this->folder(folder);
  }
  int file(int item, const struct stat& status) override { return file(item, status, reached_.back()); }

  virtual int file(int item, const struct stat& status, Reached reached) = 0;
  virtual int folder(int folder) = 0;

 private:
  int lookWhetherOpen(int folder) {
    const FileSystemUser acting(&identity_);
    if (!acting.ok()) return EPERM;
    if (::faccessat(folder, ".", R_OK | X_OK, AT_EACCESS) == 0) return noteReached(Reached::Yes);
    return errno == EACCES ? noteReached(Reached::No) : errno;
  }

  int noteReached(Reached reached) {
    reached_.push_back(reached);
    return 0;
  }

  const FileSystemIdentity& identity_;
  std::vector<Reached> reached_;  ///< of the item, and of every folder down to the current one
};

class Giving : public ReachVisitor {
 public:
  Giving(const FileSystemIdentity& person, Reached reached, HandedOver what)
      : ReachVisitor(person, reached), person_(person), what_(what) {}

  using ReachVisitor::file;
  int file(int item, const struct stat& status, Reached reached) override {
    if (what_ == HandedOver::ACopy && isDevice(status)) return note(ENODEV);
    return note(settleFile(item, status, reached));
  }
  int folder(int folder) override { return note(giveFolder(folder, person_)); }
  int firstError() const { return firstError_; }

 private:
  int note(int error) {
    if (firstError_ == 0) firstError_ = error;
    return 0;
  }

  const FileSystemIdentity& person_;
  const HandedOver what_;
  int firstError_ = 0;
};

class Looking : public ReachVisitor {
 public:
  Looking(const FileSystemIdentity& person, Reached reached, HandedOver what)
      : ReachVisitor(person, reached), what_(what) {}

  int item(int folder, const std::string& name) override {
    if (posix::isProtected(folder, name.c_str())) return EPERM;
    name_ = name;
    return ItemsVisitor::item(folder, name);
  }
  using ReachVisitor::file;
  int file(int item, const struct stat& status, Reached reached) override {
    if (what_ == HandedOver::ACopy) return isDevice(status) ? ENODEV : 0;
    if (status.st_nlink == 1) return 0;
    bool changes = false;
    if (const int error = lookForChanges(item, status, reached, changes)) return error;
    Names& names = names_[{status.st_dev, status.st_ino}];
    names = {name_, names.seen + 1, status.st_nlink, names.change || changes};
    return 0;
  }
  int folder(int folder) override { return posix::isProtected(folder, ".") ? EPERM : 0; }

  /// A file with names outside the item would be changed under those as well.
  FileError fileWithOtherNames() const {
    for (const auto& [number, names] : names_) {
      if (names.change && names.seen < names.all) return {EMLINK, names.one};
    }
    return {};
  }

 private:
  struct Names {
    std::string one;
    nlink_t seen = 0;
    nlink_t all = 0;
    bool change = false;
  };

  const HandedOver what_;
  std::string name_;
  std::map<std::pair<dev_t, ino_t>, Names> names_;
};

}  // namespace

FileError handOver(int item, const FileSystemIdentity& person, Reached reached, HandedOver what) {
  const auto status = statusOf(item);
  if (!status) return errno;
  Giving giving(person, reached, what);
  if (!S_ISDIR(status->st_mode)) {
    giving.file(item, *status, reached);
    return giving.firstError();
  }
  FileError error = posix::walkTree(item, ".", giving);
  return giving.firstError() != 0 ? FileError(giving.firstError()) : error;
}

FileError obstacleToHandover(int item, const FileSystemIdentity& person, Reached reached, HandedOver what) {
  const auto status = statusOf(item);
  if (!status) return errno;
  Looking looking(person, reached, what);
  if (!S_ISDIR(status->st_mode)) {
    const int error = looking.file(item, *status, reached);
    return error != 0 ? error : looking.fileWithOtherNames();
  }
  if (posix::holdsMountPoint(item)) return EBUSY;
  FileError error = posix::walkTree(item, ".", looking);
  return error ? error : looking.fileWithOtherNames();
}

std::optional<Reached> reaches(const FileSystemIdentity& person, const std::string& path, int item) {
  const auto own = statusOf(item);
  const FileSystemUser acting(&person);
  if (!own || !acting.ok()) return std::nullopt;
  struct stat found {};
  if (::lstat(path.c_str(), &found) == 0) return isSameItem(found, *own) ? Reached::Yes : Reached::No;
  const bool isNoWay = errno == EACCES || errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
  return isNoWay ? std::optional(Reached::No) : std::nullopt;
}

}  // namespace qm::linux_
