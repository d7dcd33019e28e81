// SPDX-License-Identifier: MIT
#include "Platform/linux/files/LinuxItemLocks.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/posix/FileMessages.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

/// The type of an item and whether it is locked, as far as its status shows that.
struct Look {
  bool lockable = false;  ///< a file or a folder
  std::optional<bool> immutable;
};

/// An item by its folder and name. For everybody but root the name is the whole path.
struct NamedItem {
  UniqueFd folder;
  std::string name;

  int at() const { return folder ? folder.get() : AT_FDCWD; }
};

int find(const std::string& path, NamedItem& item) {
  item.name = path;
  if (::geteuid() != 0 || path == "/") return 0;
  Answer<PinnedPlace> place = pinPath(path, LastLink::Stays);
  if (!place) return place.problem().error;
  item = {std::move(place->folder), std::move(place->name)};
  return 0;
}

int lookAt(const NamedItem& item, Look& look) {
  struct statx found {};
  const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
  if (::statx(item.at(), item.name.c_str(), flags, STATX_TYPE, &found) != 0) return errno;
  look.lockable = S_ISREG(found.stx_mode) || S_ISDIR(found.stx_mode);
  if ((found.stx_attributes_mask & STATX_ATTR_IMMUTABLE) != 0) {
    look.immutable = (found.stx_attributes & STATX_ATTR_IMMUTABLE) != 0;
  } else if (!look.lockable) {
    look.immutable = false;
  }
  return 0;
}

/// Opens a file or a folder, and nothing else even if the item is replaced meanwhile, because opening a device or a
/// FIFO may block.
int openItem(const NamedItem& named, UniqueFd& item) {
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  item.reset(::openat(named.at(), named.name.c_str(), kFlags));
  if (!item) return errno;
  struct stat attributes {};
  if (::fstat(item.get(), &attributes) != 0) return errno;
  return S_ISREG(attributes.st_mode) || S_ISDIR(attributes.st_mode) ? 0 : EINVAL;
}

bool isUnsupported(int error) { return error == ENOTTY || error == EOPNOTSUPP || error == ENOSYS; }

/// The flags of an open item. On a file system without flags, none is set.
int readFlags(int item, unsigned& flags) {
  flags = 0;
  const int error = ::ioctl(item, FS_IOC_GETFLAGS, &flags) == 0 ? 0 : errno;
  return isUnsupported(error) ? 0 : error;
}

int changeFlag(int item, bool immutable) {
  unsigned flags = 0;
  if (const int error = readFlags(item, flags)) return error;
  const unsigned bit = FS_IMMUTABLE_FL;
  const unsigned wanted = immutable ? flags | bit : flags & ~bit;
  if (wanted == flags) return 0;
  return ::ioctl(item, FS_IOC_SETFLAGS, &wanted) == 0 ? 0 : errno;
}

int setFlag(const std::string& path, bool immutable) {
  if (const int error = posix::pathError(path)) return error;
  NamedItem named;
  Look look;
  if (const int error = find(path, named)) return error;
  if (const int error = lookAt(named, look)) return error;
  if (look.immutable == immutable) return 0;
  if (!look.lockable) return EOPNOTSUPP;
  UniqueFd item;
  const int error = openItem(named, item);
  return error != 0 ? error : changeFlag(item.get(), immutable);
}

}  // namespace

platform::Status LinuxItemLocks::setImmutable(const std::string& path, bool immutable) {
  const auto operation = immutable ? posix::FileAction::Lock : posix::FileAction::Unlock;
  const std::string item = posix::withoutTrailingSlashes(path);
  return posix::statusOf(operation, setFlag(item, immutable), path);
}

std::optional<bool> LinuxItemLocks::isImmutable(const std::string& path) const {
  const std::string itself = posix::withoutTrailingSlashes(path);
  NamedItem named;
  Look look;
  if (posix::pathError(itself) != 0 || find(itself, named) != 0 || lookAt(named, look) != 0) return std::nullopt;
  if (look.immutable) return look.immutable;
  UniqueFd item;
  unsigned flags = 0;
  if (openItem(named, item) != 0 || readFlags(item.get(), flags) != 0) return std::nullopt;
  return (flags & FS_IMMUTABLE_FL) != 0;
}

}  // namespace qm::linux_
