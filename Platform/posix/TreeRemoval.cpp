// SPDX-License-Identifier: MIT
#include "Platform/posix/TreeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeWalk.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

class Removal : public TreeVisitor {
 public:
  explicit Removal(const MountGuard& guard, int own = -1) : guard_(guard), own_(own) {}

  bool isBegun() const { return isBegun_; }

  int entered(const FolderChain& chain, const std::string&) override {
    if (const int error = guard_.check(chain)) return error;
    if (!isOwn()) return 0;
    if (chain.depth() == 1 && !isStill(own_, chain.folder(), ".")) return ESTALE;
    static_cast<void>(setFlags(chain.folder(), 0));
    static_cast<void>(::fchmod(chain.folder(), S_IRWXU));
    return 0;
  }

  int item(int folder, const std::string& name) override { return remove(folder, name, 0); }

  int left(int parent, int, const std::string& name) override { return remove(parent, name, AT_REMOVEDIR); }

  int cannotEnter(int parent, const std::string& name, int error) override {
    if (error != EACCES) return goneIsFine(error);
    // An empty folder can be removed without being read.
    if (remove(parent, name, AT_REMOVEDIR) == 0) return 0;
    return isOwn() && openUp(parent, name) ? kTryAgain : error;
  }

 private:
  bool isOwn() const { return own_ >= 0; }

  /// Never affects the target of a link.
  static bool openUp(int parent, const std::string& name) {
    struct stat attributes {};
    const UniqueFd folder(openItself(parent, name.c_str()));
    if (!folder || ::fstat(folder.get(), &attributes) != 0 || !S_ISDIR(attributes.st_mode)) return false;
    static_cast<void>(setFlags(folder.get(), 0));
    return setMode(folder.get(), S_IRWXU) == 0;
  }

  /// The flags of an item of this process's own, which may prevent its removal.
  static bool takeFlags(int folder, const std::string& name) {
    const UniqueFd item(openItself(folder, name.c_str()));
    return item && setFlags(item.get(), 0) == 0;
  }

  static int goneIsFine(int error) { return error == ENOENT ? 0 : error; }

  int remove(int folder, const std::string& name, int flags) {
    int error = errorOf(::unlinkat(folder, name.c_str(), flags));
    if (error == EPERM && isOwn() && takeFlags(folder, name)) error = errorOf(::unlinkat(folder, name.c_str(), flags));
    isBegun_ = isBegun_ || error == 0;
    return goneIsFine(error);
  }

  const MountGuard& guard_;
  const int own_;
  bool isBegun_ = false;
};

class RemovalCheck : public TreeVisitor {
 public:
  explicit RemovalCheck(const MountGuard& guard) : guard_(guard) {}

  int entered(const FolderChain& chain, const std::string&) override { return guard_.check(chain); }
  int item(int folder, const std::string& name) override { return obstacleToRemovingEntry(folder, name); }
  int left(int parent, int, const std::string& name) override { return obstacleToRemovingEntry(parent, name); }
  int cannotEnter(int, const std::string&, int error) override { return error; }

 private:
  const MountGuard& guard_;
};

}  // namespace

FileError removeTree(int folder, const std::string& name) {
  bool isBegun = false;
  return removeTree(folder, name, isBegun);
}

FileError removeTree(int folder, const std::string& name, bool& isBegun) {
  isBegun = false;
  struct stat attributes {};
  if (::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (!S_ISDIR(attributes.st_mode)) return errorOf(::unlinkat(folder, name.c_str(), 0));
  if (const int error = obstacleToRemovingEntry(folder, name)) return error;
  MountGuard guard;
  if (const int error = guard.begin(folder)) return error;
  Removal removal(guard);
  FileError error = walkTree(folder, name, removal);
  isBegun = removal.isBegun();
  return error;
}

FileError removeOwnTree(int folder, const std::string& name, int own) {
  struct stat attributes {};
  if (!isStill(own, folder, name)) return ESTALE;
  if (::fstat(own, &attributes) != 0) return errno;
  static_cast<void>(setFlags(own, 0));
  if (!S_ISDIR(attributes.st_mode)) return errorOf(::unlinkat(folder, name.c_str(), 0));
  MountGuard guard;
  if (const int error = guard.begin(folder)) return error;
  static_cast<void>(setMode(own, S_IRWXU));
  Removal removal(guard, own);
  return walkTree(folder, name, removal);
}

FileError obstacleToRemoval(int folder, const std::string& name) {
  struct stat attributes {};
  if (::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (const int error = obstacleToRemovingEntry(folder, name)) return error;
  if (!S_ISDIR(attributes.st_mode)) return {};
  MountGuard guard;
  if (const int error = guard.begin(folder)) return error;
  RemovalCheck check(guard);
  return walkTree(folder, name, check);
}

}  // namespace qm::posix
