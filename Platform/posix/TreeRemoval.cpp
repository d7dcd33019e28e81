#include "Platform/posix/TreeRemoval.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/TreeWalk.h"

namespace qm::posix {
namespace {

class Removal : public TreeVisitor {
 public:
  Removal(const MountGuard& guard, OpenUpFolders openUp) : guard_(guard), openUp_(openUp == OpenUpFolders::Yes) {}

  int entered(const FolderChain& chain, const std::string&) override {
    if (const int error = guard_.check(chain)) return error;
    if (openUp_) static_cast<void>(::fchmod(chain.folder(), S_IRWXU));
    return 0;
  }

  int item(int folder, const std::string& name) override { return remove(folder, name, 0); }

  int left(int parent, int, const std::string& name) override { return remove(parent, name, AT_REMOVEDIR); }

  int cannotEnter(int parent, const std::string& name, int error) override {
    if (error != EACCES) return goneIsFine(error);
    // An empty folder goes without being read.
    if (::unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) return 0;
    const bool opened = openUp_ && ::fchmodat(parent, name.c_str(), S_IRWXU, 0) == 0;
    return opened ? kTryAgain : error;
  }

 private:
  static int goneIsFine(int error) { return error == ENOENT ? 0 : error; }

  static int remove(int folder, const std::string& name, int flags) {
    return goneIsFine(errorOf(::unlinkat(folder, name.c_str(), flags)));
  }

  const MountGuard& guard_;
  const bool openUp_;
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

FileError removeTree(int folder, const std::string& name, OpenUpFolders openUp) {
  struct stat attributes {};
  if (::fstatat(folder, name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (!S_ISDIR(attributes.st_mode)) return errorOf(::unlinkat(folder, name.c_str(), 0));
  if (const int error = obstacleToRemovingEntry(folder, name)) return error;
  MountGuard guard;
  if (const int error = guard.begin(folder)) return error;
  Removal removal(guard, openUp);
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
