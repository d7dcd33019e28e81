// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/ItemsVisitor.h"

#include <fcntl.h>

#include <cerrno>

#include "Platform/linux/rights/Writers.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

int ItemsVisitor::entered(const posix::FolderChain& chain, const std::string& /*name*/) {
  if (!isBegun_) mount_ = chain.identity();
  isBegun_ = true;
  return chain.identity().sameMount(mount_) ? folderEntered(chain.folder()) : EBUSY;
}

int ItemsVisitor::item(int folder, const std::string& name) {
  const posix::UniqueFd item(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  const auto status = item ? statusOf(item.get()) : std::nullopt;
  if (!status) return errno == ENOENT ? 0 : errno;
  return S_ISDIR(status->st_mode) ? ESTALE : file(item.get(), *status);
}

int ItemsVisitor::left(int /*parent*/, int folder, const std::string& /*name*/) { return folderLeft(folder); }

int ItemsVisitor::cannotEnter(int /*parent*/, const std::string& /*name*/, int error) {
  return error == ENOENT ? 0 : error;
}

int ItemsVisitor::folderEntered(int /*folder*/) { return 0; }

int ItemsVisitor::folderLeft(int /*folder*/) { return 0; }

}  // namespace qm::linux_
