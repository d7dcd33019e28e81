// SPDX-License-Identifier: MIT
#include "Platform/macos/privileges/HollowFolderItems.h"

#include <cerrno>
#include <utility>

#include "Platform/posix/ItemPath.h"
#include "Platform/posix/RemovalRules.h"
#include "Platform/posix/TreeWalk.h"

namespace qm::macos {
namespace {

bool isHousekeeping(const std::string& name) { return name == ".DS_Store" || name == "Icon\r"; }

class Items final : public posix::TreeVisitor {
 public:
  Items(const posix::MountGuard& guard, std::string above) : guard_(guard), path_(std::move(above)) {}

  int entered(const posix::FolderChain& chain, const std::string& name) override {
    path_ += "/" + name;
    return guard_.check(chain);
  }

  int item(int /*folder*/, const std::string& name) override {
    if (!isHousekeeping(name)) return ENOTEMPTY;
    found.push_back(path_ + "/" + name);
    return 0;
  }

  int left(int /*parent*/, int /*folder*/, const std::string& name) override {
    found.push_back(path_);
    path_.resize(path_.size() - name.size() - 1);
    return 0;
  }

  int cannotEnter(int /*parent*/, const std::string& /*name*/, int error) override { return error; }

  std::vector<std::string> found;

 private:
  const posix::MountGuard& guard_;
  std::string path_;
};

}  // namespace

std::optional<std::vector<std::string>> hollowFolderItems(const std::string& folder) {
  posix::Place place;
  posix::MountGuard guard;
  if (posix::openPlace(folder, place) != 0 || guard.begin(place.folder.get()) != 0) return std::nullopt;
  const std::string above = posix::folderOf(posix::withoutTrailingSlashes(folder));
  Items items(guard, above == "/" ? "" : above);
  if (posix::walkTree(place.folder.get(), place.name, items)) return std::nullopt;
  return std::move(items.found);
}

}  // namespace qm::macos
