#include "Platform/posix/Publish.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>

#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/TreeCopy.h"

namespace qm::posix {
namespace {

bool isUnsupported(int error) { return error == EINVAL || error == ENOTSUP || error == ENOSYS; }

/// Only on file systems that have neither the exclusive rename nor hard links, and for folders. Between
/// the look and the rename another process may make something of the new name; a folder can then
/// replace only an empty folder, anything else can replace a file.
int renameAfterLook(ItemName from, ItemName to) {
  struct stat attributes {};
  if (::fstatat(to.folder, to.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) == 0) return EEXIST;
  if (errno != ENOENT) return errno;
  return errorOf(::renameat(from.folder, from.name.c_str(), to.folder, to.name.c_str()));
}

/// A second name cannot be given over a first one, so this never replaces anything. A process that ends
/// in between leaves the item with both names.
int linkAndUnlink(ItemName from, ItemName to) {
  if (::linkat(from.folder, from.name.c_str(), to.folder, to.name.c_str(), 0) != 0) return errno;
  if (::unlinkat(from.folder, from.name.c_str(), 0) == 0) return 0;
  const int error = errno;
  ::unlinkat(to.folder, to.name.c_str(), 0);
  return error;
}

bool saysMoreThanUnsupported(int error) {
  return error != EPERM && error != EMLINK && error != EACCES && !isUnsupported(error);
}

}  // namespace

std::string temporaryName() {
  static std::atomic<std::uint64_t> made{0};
  std::uint64_t number = 0;
  // Without random bytes the name is still one that no other call of this process uses.
  if (::getentropy(&number, sizeof number) != 0) number = (static_cast<std::uint64_t>(::getpid()) << 32) + ++made;
  std::array<char, 32> text{};
  static_cast<void>(
      std::snprintf(text.data(), text.size(), ".incomplete-%016llx", static_cast<unsigned long long>(number)));
  return text.data();
}

int renameWithoutReplacing(ItemName from, ItemName to) {
  const int error = renameExclusively(from.folder, from.name.c_str(), to.folder, to.name.c_str());
  if (!isUnsupported(error)) return error;
  struct stat attributes {};
  if (::fstatat(from.folder, from.name.c_str(), &attributes, AT_SYMLINK_NOFOLLOW) != 0) return errno;
  if (S_ISDIR(attributes.st_mode)) {
    return isWithin(to.folder, from.folder, from.name) ? EINVAL : renameAfterLook(from, to);
  }
  const int linkError = linkAndUnlink(from, to);
  return linkError == 0 || saysMoreThanUnsupported(linkError) ? linkError : renameAfterLook(from, to);
}

}  // namespace qm::posix
