#include "Platform/linux/privileges/helper/Ownership.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/magic.h>
#include <pwd.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/linux/privileges/helper/FolderEntries.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

constexpr mode_t kWritableByOthers = S_IWGRP | S_IWOTH;

// What such a file system says about owners is what its program says.
bool isProgramOfSomebodys(int folder) {
  struct statfs found {};
  return ::fstatfs(folder, &found) != 0 || found.f_type == FUSE_SUPER_MAGIC;
}

// The group that bears its only member's name.
bool isOwnersGroup(uid_t owner, gid_t gid) {
  std::vector<char> personBuffer(16384);
  std::vector<char> groupBuffer(65536);
  passwd personEntry{};
  passwd* person = nullptr;
  group groupEntry{};
  group* found = nullptr;
  if (::getpwuid_r(owner, &personEntry, personBuffer.data(), personBuffer.size(), &person) != 0 || person == nullptr ||
      ::getgrgid_r(gid, &groupEntry, groupBuffer.data(), groupBuffer.size(), &found) != 0 || found == nullptr) {
    return false;
  }
  const std::string_view name = person->pw_name;
  if (person->pw_gid != gid || name != found->gr_name) return false;
  for (char** member = found->gr_mem; *member != nullptr; ++member) {
    if (name != *member) return false;
  }
  return true;
}

// A group counts as its owner where nobody else is in it.
bool othersMayWrite(const struct stat& folder) {
  if ((folder.st_mode & kWritableByOthers) == 0) return false;
  return (folder.st_mode & S_IWOTH) != 0 || !isOwnersGroup(folder.st_uid, folder.st_gid);
}

bool isRootsAlone(int folder, const struct stat& status) {
  return status.st_uid == 0 && !othersMayWrite(status) && !isProgramOfSomebodys(folder);
}

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

void Changers::add(const Changers& others) {
  persons.insert(others.persons.begin(), others.persons.end());
  anybody = anybody || others.anybody;
}

Changers changersOfEntry(int folder, const struct stat& folderStatus, const struct stat& entry) {
  Changers changers;
  if (folderStatus.st_uid != 0) changers.persons.insert(folderStatus.st_uid);
  if (othersMayWrite(folderStatus)) {
    // In a sticky folder an item is its owner's to rename.
    const bool sticky = (folderStatus.st_mode & S_ISVTX) != 0;
    if (sticky && entry.st_uid != 0) changers.persons.insert(entry.st_uid);
    changers.anybody = !sticky;
  }
  if (isProgramOfSomebodys(folder)) changers.anybody = true;
  return changers;
}

bool onlyRootChanges(int folder) {
  const auto status = statusOf(folder);
  return status && isRootsAlone(folder, *status);
}

bool onlyRootChangesTree(int folder) {
  if (!onlyRootChanges(folder)) return false;
  bool roots = true;
  const int error = forEachEntry(folder, [&](int parent, const std::string& name) {
    const auto status = statusIn(parent, name.c_str());
    if (!status) return errno;
    if (!S_ISDIR(status->st_mode)) return 0;
    const posix::UniqueFd below = openFolderIn(parent, name);
    roots = below && onlyRootChangesTree(below.get());
    return roots ? 0 : EPERM;
  });
  return roots && error == 0;
}

}  // namespace qm::linux_
