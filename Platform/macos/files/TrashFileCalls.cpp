// SPDX-License-Identifier: MIT
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>

#include "Platform/macos/files/TrashCalls.h"
#include "Platform/posix/FileError.h"

namespace qm::macos {

std::string volumeOf(int folder) {
  struct statfs volume {};
  return ::fstatfs(folder, &volume) == 0 ? std::string(volume.f_mntonname) : std::string();
}

int writeOut(const std::string& volume) {
  return posix::errorReturned(::sync_volume_np(volume.c_str(), SYNC_VOLUME_FULLSYNC | SYNC_VOLUME_WAIT));
}

int writeAttribute(int item, const std::string& name, const std::string& text) {
  return posix::errorOf(::fsetxattr(item, name.c_str(), text.data(), text.size(), 0, 0));
}

std::string readAttribute(int item, const std::string& name) {
  std::array<char, MAXPATHLEN + 64> text{};
  const ssize_t size = ::fgetxattr(item, name.c_str(), text.data(), text.size(), 0, 0);
  return size > 0 ? std::string(text.data(), static_cast<std::size_t>(size)) : std::string();
}

void removeAttribute(int item, const std::string& name) { static_cast<void>(::fremovexattr(item, name.c_str(), 0)); }

}  // namespace qm::macos
