// SPDX-License-Identifier: MIT
#include "Platform/posix/FolderChain.h"

#include <fcntl.h>

#include <utility>

#include "Platform/posix/FileError.h"

namespace qm::posix {
namespace {

constexpr std::size_t kOpenLevels = 32;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;

}  // namespace

int FolderChain::start(int folder) {
  Level first;
  first.folder = duplicate(folder);
  if (!first.folder) return errno;
  if (const int error = identify(first.folder.get(), first.identity)) return error;
  levels_.clear();
  levels_.push_back(std::move(first));
  return 0;
}

int FolderChain::enter(const char* name) {
  Level next;
  next.folder.reset(::openat(folder(), name, kFolderFlags));
  if (!next.folder) return errno;
  if (const int error = identify(next.folder.get(), next.identity)) return error;
  levels_.push_back(std::move(next));
  closeFarLevel();
  return 0;
}

int FolderChain::leave(UniqueFd& left) {
  left = std::move(levels_.back().folder);
  levels_.pop_back();
  Level& parent = levels_.back();
  return parent.folder ? 0 : reopenParent(left.get(), parent);
}

void FolderChain::closeFarLevel() {
  // The first stays open because it may be searchable but not readable, and so could not be opened again.
  if (depth() > kOpenLevels) levels_[depth() - kOpenLevels].folder.reset();
}

int FolderChain::reopenParent(int child, Level& parent) const {
  UniqueFd above(::openat(child, "..", kFolderFlags));
  if (!above) return errno;
  FolderIdentity found;
  if (const int error = identify(above.get(), found)) return error;
  if (!found.sameFolder(parent.identity)) return ESTALE;
  parent.folder = std::move(above);
  return 0;
}

}  // namespace qm::posix
