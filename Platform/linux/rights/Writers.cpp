#include "Platform/linux/rights/Writers.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <cerrno>
#include <string>

#include "Platform/posix/TreeWalk.h"

namespace qm::linux_ {
namespace {

constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

// The permissions of an access list show in the mode, because its mask replaces the group's bits.
bool othersMayWrite(const struct stat& folder) { return (folder.st_mode & kWritableByOthers) != 0; }

// Ends a walk at the first folder that others may write to.
class RootsAlone : public posix::TreeVisitor {
 public:
  int entered(const posix::FolderChain& chain, const std::string&) override {
    return onlyRootWrites(chain.folder()) ? 0 : EPERM;
  }
  int item(int, const std::string&) override { return 0; }
  int left(int, int, const std::string&) override { return 0; }
  int cannotEnter(int, const std::string&, int error) override { return error; }
};

}  // namespace

std::optional<struct stat> statusOf(int fd) {
  struct stat found {};
  if (::fstat(fd, &found) != 0) return std::nullopt;
  return found;
}

std::optional<struct stat> statusIn(int folder, const char* name) {
  struct stat found {};
  if (::fstatat(folder, name, &found, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return found;
}

bool isSameItem(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

void Writers::add(const Writers& others) {
  persons.insert(others.persons.begin(), others.persons.end());
  anybody = anybody || others.anybody;
}

Writers writersOfEntry(int folder, const struct stat& folderStatus, const struct stat& entry) {
  Writers writers;
  if (folderStatus.st_uid != 0) writers.persons.insert(folderStatus.st_uid);
  if (othersMayWrite(folderStatus)) {
    const bool sticky = (folderStatus.st_mode & S_ISVTX) != 0;
    const bool couldBeMovedIn = entry.st_uid == 0 && S_ISLNK(entry.st_mode);
    if (sticky && entry.st_uid != 0) writers.persons.insert(entry.st_uid);
    writers.anybody = !sticky || couldBeMovedIn;
  }
  if (isProgramOfSomebodys(folder)) writers.anybody = true;
  return writers;
}

bool isProgramOfSomebodys(int folder) {
  struct statfs found {};
  return ::fstatfs(folder, &found) != 0 || found.f_type == FUSE_SUPER_MAGIC;
}

bool onlyRootWrites(int folder) {
  const auto status = statusOf(folder);
  return status && status->st_uid == 0 && !othersMayWrite(*status) && !isProgramOfSomebodys(folder);
}

bool onlyRootWritesTree(int folder) {
  RootsAlone visitor;
  return !posix::walkTree(folder, ".", visitor);
}

}  // namespace qm::linux_
