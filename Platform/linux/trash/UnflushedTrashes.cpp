// SPDX-License-Identifier: MIT
#include "Platform/linux/trash/UnflushedTrashes.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <utility>

#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

void UnflushedTrashes::add(const TrashDirectory& trash) {
  const std::scoped_lock lock(mutex_);
  folders_[trash.infoIdentity.device] = {trash.path + "/info", trash.infoIdentity};
}

void UnflushedTrashes::flush() {
  std::map<std::uint64_t, Folder> folders;
  {
    const std::scoped_lock lock(mutex_);
    folders.swap(folders_);
  }
  for (const auto& [device, folder] : folders) {
    const posix::UniqueFd opened(::open(folder.path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // A folder that may not be read cannot be passed to syncfs; sync flushes everything.
    if (!opened && errno == EACCES) ::sync();
    const std::optional<ItemIdentity> identity = opened ? itemIdentity(opened.get()) : std::nullopt;
    if (identity && identity->sameItem(folder.identity)) static_cast<void>(posix::flushVolume(opened.get()));
  }
}

}  // namespace qm::linux_
