// SPDX-License-Identifier: MIT
#include "Platform/linux/archives/UnpackedFolders.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Platform/linux/archives/ArchiveProblem.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemCopy.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

using platform::Status;
using posix::FolderIdentity;
using posix::UniqueFd;

namespace {

constexpr int kFlags = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

}  // namespace

std::size_t UnpackedFolders::below(std::size_t folder, const std::string& name) {
  const auto [known, isNew] = folders_[folder].below.try_emplace(name, folders_.size());
  const std::size_t result = known->second;
  if (isNew) {
    Folder& made = folders_.emplace_back();
    made.name = name;
    made.above = folder;
  }
  return result;
}

int UnpackedFolders::setMade(std::size_t folder, int above, int made) {
  struct stat attributes {};
  Folder& known = folders_[folder];
  if (::fstat(made, &attributes) != 0) return errno;
  if (const int error = posix::checkOwner(above, attributes)) return error;
  if (const int error = posix::identify(made, known.identity)) return error;
  known.isMade = true;
  known.keepsPermissions = (attributes.st_mode & (S_IRWXG | S_IRWXO)) == 0;
  markWay(folder);
  return 0;
}

void UnpackedFolders::setAttributes(std::size_t folder, mode_t permissions, const std::optional<timespec>& modified) {
  folders_[folder].permissions = permissions;
  folders_[folder].modified = modified;
  markWay(folder);
}

void UnpackedFolders::markWay(std::size_t folder) {
  for (; !folders_[folder].isOnTheWay; folder = folders_[folder].above) folders_[folder].isOnTheWay = true;
}

/// Walks down into each folder and up again. However deep the tree is, at most three descriptors are open. On the way
/// up it checks that it is in the folder from which it went down.
class UnpackedFolders::Walk {
 public:
  Walk(const std::vector<Folder>& folders, int top) : folders_(folders), top_(top) {}

  Status run() {
    enter(kTop, posix::duplicate(top_));
    while (!way_.empty()) way_.back().next == folderOf(way_.back()).below.end() ? ascend() : descend();
    return std::move(first_);
  }

 private:
  struct Step {
    std::size_t folder;
    FolderIdentity identity;
    std::map<std::string, std::size_t>::const_iterator next;
  };

  const Folder& folderOf(const Step& step) const { return folders_[step.folder]; }

  void descend() {
    const std::size_t folder = (way_.back().next++)->second;
    if (!folders_[folder].isOnTheWay) return;
    enter(folder, UniqueFd(::openat(here_.get(), folders_[folder].name.c_str(), kFlags)));
  }

  void enter(std::size_t folder, UniqueFd opened) {
    FolderIdentity identity;
    const int error = opened ? posix::identify(opened.get(), identity) : errno;
    if (error != 0) return note(folder, error);
    const Folder& known = folders_[folder];
    if (known.isMade && !known.identity.sameFolder(identity)) {
      // On a volume without permissions, which may also renumber its folders, there is nothing to apply.
      return known.keepsPermissions ? note(folder, ESTALE) : void();
    }
    here_ = std::move(opened);
    way_.push_back({folder, identity, folders_[folder].below.begin()});
  }

  // A folder's permissions are applied when its parent is open again, because the owner may have no access from then
  // on.
  void ascend() {
    const std::size_t folder = way_.back().folder;
    const UniqueFd left = std::move(here_);
    way_.pop_back();
    if (way_.empty()) return;
    here_.reset(::openat(left.get(), "..", kFlags));
    if (!isIn(way_.back())) goDownAnew();
    if (const int error = applyAttributesTo(left.get(), folders_[folder])) note(folder, error);
  }

  bool isIn(const Step& step) const {
    FolderIdentity found;
    return here_ && posix::identify(here_.get(), found) == 0 && found.sameFolder(step.identity);
  }

  // A folder that was moved elsewhere meanwhile is left alone, and so is what took its place.
  void goDownAnew() {
    while (!reopen() && way_.size() > 1) {
      note(way_.back().folder, ESTALE);
      way_.pop_back();
    }
  }

  bool reopen() {
    here_ = posix::duplicate(top_);
    for (std::size_t i = 1; here_ && i < way_.size(); ++i) {
      here_.reset(::openat(here_.get(), folderOf(way_[i]).name.c_str(), kFlags));
      if (!isIn(way_[i])) return false;
    }
    return static_cast<bool>(here_);
  }

  static int applyAttributesTo(int item, const Folder& folder) {
    struct stat attributes {};
    if (::fstat(item, &attributes) != 0) return errno;
    if (!folder.isMade && (!folder.permissions || attributes.st_uid != ::geteuid())) return 0;
    const mode_t permissions = folder.permissions.value_or(permissionsOfNewFolder(attributes));
    int error = posix::setMode(item, permissions);
    if (error != 0 && !posix::cannotBeKept(error)) return error;
    if (!folder.modified) return 0;
    error = posix::setTimes(item, {*folder.modified, *folder.modified});
    return posix::cannotBeKept(error) ? 0 : error;
  }

  void note(std::size_t folder, int error) {
    if (first_) first_ = problemInPlace(pathOf(folder), error);
  }

  std::string pathOf(std::size_t folder) const {
    std::string path = folders_[folder].name;
    for (folder = folders_[folder].above; folder != kTop; folder = folders_[folder].above)
      path.insert(0, folders_[folder].name + "/");
    return path;
  }

  const std::vector<Folder>& folders_;
  const int top_;
  UniqueFd here_;
  std::vector<Step> way_;
  Status first_;
};

Status UnpackedFolders::applyAttributes(int top) const { return Walk(folders_, top).run(); }

mode_t permissionsOfNewFolder(const struct stat& attributes) {
  // The umask can be read only by setting it; no other thread is running that could see that.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return ((S_IRWXU | S_IRWXG | S_IRWXO) & ~mask) | (attributes.st_mode & S_ISGID);
}

}  // namespace qm::linux_
