// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/Writers.h"

#include <fcntl.h>
#include <cerrno>
#include <string>

#include "Platform/posix/TreeWalk.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

// On Linux the permissions of an access list show in the mode, because its mask replaces the group's bits.
bool othersMayWrite(int folder, const struct stat& status) {
  return (status.st_mode & kWritableByOthers) != 0 || hasListThatGrantsWriting(folder);
}

// Ends a walk at the first folder that others may write to.
class RootsAlone : public TreeVisitor {
 public:
  int entered(const FolderChain& chain, const std::string&) override {
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

void Writers::add(const Writers& others) {
  persons.insert(others.persons.begin(), others.persons.end());
  anybody = anybody || others.anybody;
}

Writers writersOfEntry(int folder, const struct stat& folderStatus, const struct stat& entry) {
  Writers writers;
  if (folderStatus.st_uid != 0) writers.persons.insert(folderStatus.st_uid);
  if (othersMayWrite(folder, folderStatus)) {
    // An access list can permit renaming other users' items, in spite of the sticky bit.
    const bool sticky = (folderStatus.st_mode & S_ISVTX) != 0 && !hasListThatGrantsWriting(folder);
    const bool couldBeMovedIn = entry.st_uid == 0 && S_ISLNK(entry.st_mode);
    if (sticky && entry.st_uid != 0) writers.persons.insert(entry.st_uid);
    writers.anybody = !sticky || couldBeMovedIn;
  }
  if (isUserSpaceFileSystem(folder)) writers.anybody = true;
  return writers;
}

bool onlyRootWrites(int folder) {
  const auto status = statusOf(folder);
  return status && status->st_uid == 0 && !othersMayWrite(folder, *status) && !isUserSpaceFileSystem(folder);
}

bool onlyRootWritesTree(int folder) {
  RootsAlone visitor;
  return !walkTree(folder, ".", visitor);
}

}  // namespace qm::posix
