// SPDX-License-Identifier: MIT
#include "Platform/posix/HollowFolder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <utility>

#include "Platform/foundation/PathComponents.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/TreeWalk.h"

namespace qm::posix {
namespace {

using IsExpendable = std::function<bool(const std::string& name)>;

int goneIsFine(int error) { return error == ENOENT ? 0 : error; }

/// The folders that were checked.
class KnownFolders {
 public:
  void add(const FolderIdentity& folder) { folders_.emplace(folder.device, folder.inode); }
  bool has(const FolderIdentity& folder) const { return folders_.contains({folder.device, folder.inode}); }

 private:
  std::set<std::pair<dev_t, ino_t>> folders_;
};

/// What the check, the removal and the listing have in common: where they may go and what is in their way.
class HollowVisitor : public TreeVisitor {
 public:
  HollowVisitor(const MountGuard& guard, const IsExpendable& isExpendable)
      : guard_(guard), isExpendable_(isExpendable) {}

  int entered(const FolderChain& chain, const std::string&) override {
    const int error = guard_.check(chain);
    return error != 0 ? error : enteredOnOneMount(chain.identity());
  }

  int item(int folder, const std::string& name) override {
    return isExpendable_(name) ? expendable(folder, name) : inTheWay();
  }

  int cannotEnter(int, const std::string&, int error) override { return goneIsFine(error); }

  /// Walks the folder with this visitor. The result also says what the error number refers to.
  FileError walk(int parent, const std::string& name) {
    FileError error = walkTree(parent, name, *this);
    if (isInTheWay_) error.side = FileError::Side::InTheWay;
    return error;
  }

 protected:
  virtual int enteredOnOneMount(const FolderIdentity& folder) = 0;
  virtual int expendable(int folder, const std::string& name) = 0;

  int inTheWay() {
    isInTheWay_ = true;
    return ENOTEMPTY;
  }

 private:
  const MountGuard& guard_;
  const IsExpendable& isExpendable_;
  bool isInTheWay_ = false;
};

class Look : public HollowVisitor {
 public:
  Look(const MountGuard& guard, const IsExpendable& isExpendable, KnownFolders& known)
      : HollowVisitor(guard, isExpendable), known_(known) {}

  int left(int parent, int, const std::string& name) override { return expendable(parent, name); }

 protected:
  int enteredOnOneMount(const FolderIdentity& folder) override {
    known_.add(folder);
    return 0;
  }

  int expendable(int folder, const std::string& name) override {
    return goneIsFine(obstacleToRemovingEntry(folder, name));
  }

 private:
  KnownFolders& known_;
};

class HollowRemoval : public HollowVisitor {
 public:
  HollowRemoval(const MountGuard& guard, const IsExpendable& isExpendable, const KnownFolders& known)
      : HollowVisitor(guard, isExpendable), known_(known) {}

  int left(int parent, int, const std::string& name) override { return remove(parent, name, AT_REMOVEDIR); }

 protected:
  int enteredOnOneMount(const FolderIdentity& folder) override { return known_.has(folder) ? 0 : inTheWay(); }
  int expendable(int folder, const std::string& name) override { return remove(folder, name, 0); }

 private:
  static int remove(int folder, const std::string& name, int flags) {
    return goneIsFine(errorOf(::unlinkat(folder, name.c_str(), flags)));
  }

  const KnownFolders& known_;
};

/// Notes the way to everything that is found.
class Listing : public HollowVisitor {
 public:
  using HollowVisitor::HollowVisitor;

  int entered(const FolderChain& chain, const std::string& name) override {
    way_.push_back(name);
    return HollowVisitor::entered(chain, name);
  }

  int left(int, int, const std::string&) override {
    const std::string name = way_.back();
    way_.pop_back();
    return note(name);
  }

  /// What cannot be listed cannot be shown to be hollow, even if it has vanished.
  int cannotEnter(int, const std::string&, int error) override { return error; }

  std::vector<std::string> found;

 protected:
  int enteredOnOneMount(const FolderIdentity&) override { return 0; }
  int expendable(int, const std::string& name) override { return note(name); }

 private:
  int note(const std::string& name) {
    std::string path;
    for (const std::string& above : way_) path.append(above).append("/");
    found.push_back(path + name);
    return 0;
  }

  std::vector<std::string> way_;
};

}  // namespace

std::optional<std::vector<std::string>> hollowFolderItems(int parent, const std::string& name,
                                                          const IsExpendable& isExpendable) {
  MountGuard guard;
  if (guard.begin(parent) != 0) return std::nullopt;
  Listing listing(guard, isExpendable);
  if (listing.walk(parent, name)) return std::nullopt;
  return std::move(listing.found);
}

FileError removeHollowFolder(int parent, const std::string& name, const IsExpendable& isExpendable) {
  // An empty folder can be removed without being read.
  const int error = errorOf(::unlinkat(parent, name.c_str(), AT_REMOVEDIR));
  if (error != ENOTEMPTY && error != EEXIST) return error;
  MountGuard guard;
  if (const int unknown = guard.begin(parent)) return unknown;
  KnownFolders known;
  if (FileError obstacle = Look(guard, isExpendable, known).walk(parent, name)) return obstacle;
  return HollowRemoval(guard, isExpendable, known).walk(parent, name);
}

std::optional<std::vector<std::string>> pathsInHollowFolder(
    const std::string& folder, const std::function<bool(const std::string& name)>& isExpendable) {
  Place place;
  if (openPlace(folder, place) != 0) return std::nullopt;
  auto items = hollowFolderItems(place.folder.get(), place.name, isExpendable);
  if (!items) return std::nullopt;
  const std::string above = foundation::deletingLastPathComponent(folder);
  for (std::string& item : *items) item = foundation::appendingPathComponent(above, item);
  return items;
}

}  // namespace qm::posix
