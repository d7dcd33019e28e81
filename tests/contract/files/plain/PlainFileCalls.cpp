// SPDX-License-Identifier: MIT
#include "tests/contract/files/plain/PlainFileCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <mutex>
#include <set>
#include <utility>

#include "Platform/linux/files/DescriptorPath.h"
#include "Platform/macos/files/FileRules.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/NamedClone.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/SecondTry.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::testing::plain {
namespace {

std::atomic<int> clones = 0;
bool cloning = true;
std::function<void(int, const char*)> onClone;

unsigned long numberOf(int item) {
  struct stat attributes {};
  return ::fstat(item, &attributes) == 0 ? attributes.st_ino : 0;
}

/// Which items have a flag, and what was done to items. Several copies can run at once.
class Items {
 public:
  bool isFlagged(unsigned long item) {
    const std::scoped_lock lock(mutex_);
    return flagged_.contains(item);
  }
  void setFlag(unsigned long item, bool on) {
    const std::scoped_lock lock(mutex_);
    const bool changed = on ? flagged_.insert(item).second : flagged_.erase(item) != 0;
    if (changed) noted_.push_back(change(on ? "flag" : "no flag", item));
  }
  void note(const char* what, unsigned long item) {
    const std::scoped_lock lock(mutex_);
    noted_.push_back(change(what, item));
  }
  std::vector<std::string> noted() {
    const std::scoped_lock lock(mutex_);
    return noted_;
  }

 private:
  std::mutex mutex_;
  std::set<unsigned long> flagged_;
  std::vector<std::string> noted_;
};

Items items;

/// A clone has what its original has, but for what lends rights.
int fillClone(int from, const struct stat& attributes, int clone) {
  for (off_t done = 0; done < attributes.st_size;) {
    const ssize_t count = ::copy_file_range(from, &done, clone, nullptr, 65536, 0);
    if (count <= 0) return count == 0 ? EIO : errno;
  }
  return posix::errorOf(::fchmod(clone, attributes.st_mode & 0777));
}

/// The system's call: a clone by its name.
int clone(int from, const struct stat& attributes, int folder, const char* name) {
  if (!cloning) return ENOTSUP;
  const posix::UniqueFd made(::openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!made) return errno;
  if (const int error = fillClone(from, attributes, made.get())) {
    ::unlinkat(folder, name, 0);
    return error;
  }
  ++clones;
  if (onClone) onClone(folder, name);
  return 0;
}

}  // namespace

int clonesMade() { return clones; }
void refuseClones() { cloning = false; }
void afterEachClone(std::function<void(int, const char*)> action) { onClone = std::move(action); }
std::vector<std::string> changes() { return items.noted(); }
std::string change(const char* what, unsigned long item) { return std::string(what) + " " + std::to_string(item); }

}  // namespace qm::testing::plain

namespace qm::posix {

namespace plain = testing::plain;

int renameExclusively(int fromFolder, const char* from, int toFolder, const char* to) {
  struct stat attributes {};
  if (::fstatat(fromFolder, from, &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (plain::items.isFlagged(attributes.st_ino)) return EPERM;
  const int error = errorOf(::renameat2(fromFolder, from, toFolder, to, RENAME_NOREPLACE));
  if (error == 0) plain::items.note("name", attributes.st_ino);
  return error;
}

int lookupFlag() { return macos::lookupMode(false); }

int identify(int folder, FolderIdentity& identity) {
  struct stat found {};
  if (::fstat(folder, &found) != 0) return errno;
  identity.device = found.st_dev;
  identity.inode = found.st_ino;
  identity.mount = found.st_dev;
  return 0;
}

bool isProtected(int folder, const char* name) {
  struct stat found {};
  return ::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) == 0 && plain::items.isFlagged(found.st_ino);
}

bool isRemovalDenied(int folder, const char* name) {
  return isRemovalDeniedBy([&] { return name == plain::kDenied ? EACCES : 0; }, folder, name);
}

int shareContents(int /*from*/, int /*to*/) { return ENOTSUP; }

int makeClone(int from, int folder, const char* name, UniqueFd& clone) {
  struct stat attributes {};
  if (::fstat(from, &attributes) != 0) return errno;
  const auto make = [&] { return plain::clone(from, attributes, folder, name); };
  return makeNamedClone(macos::obstacleToCloning(attributes.st_mode, 0), make, {folder, name}, clone);
}

int flushFile(int file) { return ::fsync(file) == 0 ? 0 : errno; }

int reserveSpace(int /*file*/, off_t /*offset*/, std::size_t /*count*/) { return ENOTSUP; }
int flushVolume(int folder) { return errorOf(::syncfs(folder)); }
ssize_t copyRange(int /*from*/, int /*to*/, off_t /*offset*/, std::size_t /*count*/) { return -1; }

/// No link can be opened otherwise here, and no socket at all.
int openItself(int folder, const char* name) {
  struct stat found {};
  if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0) return -1;
  if (S_ISSOCK(found.st_mode) || name == plain::kUnopenable) {
    errno = EOPNOTSUPP;
    return -1;
  }
  const int access = S_ISLNK(found.st_mode) ? O_PATH : O_RDONLY | O_NONBLOCK | O_NOCTTY;
  return openItemOrFolder([&] { return ::openat(folder, name, access | O_NOFOLLOW | O_CLOEXEC); },
                          [&] { return ::openat(folder, name, lookupFlag() | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
}

int setOwner(int item, uid_t user, gid_t group) { return errorOf(::fchownat(item, "", user, group, AT_EMPTY_PATH)); }
int setMode(int item, mode_t mode) { return errorOf(::fchmod(item, mode)); }
int setTimes(int item, const std::array<timespec, 2>& times) {
  return errorOf(::utimensat(AT_FDCWD, pathOfDescriptor(item).c_str(), times.data(), 0));
}

int copyCreationTime(int item, const struct stat& /*attributes*/) {
  const unsigned long number = plain::numberOf(item);
  if (plain::items.isFlagged(number)) return EIO;
  plain::items.note("date", number);
  return 0;
}

ItemFlags flagsForCopy(const struct stat& attributes) { return attributes.st_mode & plain::kFlaggedMode; }

int setFlags(int item, ItemFlags flags) {
  plain::items.setFlag(plain::numberOf(item), flags != 0);
  return 0;
}

int makeNode(int folder, const char* name, mode_t mode, dev_t /*device*/) {
  return makeFifoOnly(::mkfifoat, folder, name, mode);
}

int setCreationTime(const std::string& path, std::chrono::system_clock::time_point) {
  struct stat attributes {};
  return ::lstat(path.c_str(), &attributes) != 0 ? errno : ENOTSUP;
}

timespec accessTime(const struct stat& attributes) { return attributes.st_atim; }
timespec modificationTime(const struct stat& attributes) { return attributes.st_mtim; }

}  // namespace qm::posix
