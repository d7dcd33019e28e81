// SPDX-License-Identifier: MIT
#include <sys/mount.h>
#include <sys/param.h>
#include <unistd.h>

#include "Platform/macos/files/TrashCalls.h"

namespace qm::macos {

std::string volumeOf(int folder) {
  struct statfs volume {};
  return ::fstatfs(folder, &volume) == 0 ? std::string(volume.f_mntonname) : std::string();
}

void writeOut(const std::string& volume) {
  static_cast<void>(::sync_volume_np(volume.c_str(), SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT));
}

}  // namespace qm::macos
