// SPDX-License-Identifier: MIT
#include "Platform/posix/OwnItem.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>

#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

constexpr mode_t kRightsOfOthers = S_IRWXG | S_IRWXO;

/// Determines which owner the volume gives to new files of this process. The test file is opened by its creation, so it
/// is certainly this process's own.
int ownerOfNewFile(int folder, uid_t& owner) {
  const std::string name = temporaryName();
  const UniqueFd file(
      ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
  struct stat made {};
  if (!file || ::fstat(file.get(), &made) != 0) return errno;
  if (isStill(file.get(), folder, name)) static_cast<void>(::unlinkat(folder, name.c_str(), 0));
  owner = made.st_uid;
  return 0;
}

/// Whether the volume keeps no modes. `item` is a folder to which others have rights, although it was created without
/// any for them. If these rights cannot be removed, the volume keeps no modes. Otherwise somebody had granted them, and
/// they are set again.
bool keepsNoModes(int item, mode_t mode) {
  struct stat changed {};
  static_cast<void>(::fchmod(item, S_IRWXU));
  if (::fstat(item, &changed) != 0) return false;
  if ((changed.st_mode & kRightsOfOthers) == (mode & kRightsOfOthers)) return true;
  static_cast<void>(::fchmod(item, mode));
  return false;
}

}  // namespace

bool isSameItem(const struct stat& one, const struct stat& other) {
  return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isStill(int item, int folder, const std::string& name) {
  struct stat own {};
  struct stat found {};
  return ::fstat(item, &own) == 0 && ::fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
         isSameItem(own, found);
}

int readLinkText(int folder, const std::string& name, std::string& text) {
  std::array<char, PATH_MAX> found{};
  const ssize_t length = ::readlinkat(folder, name.c_str(), found.data(), found.size());
  if (length < 0) return errno;
  if (static_cast<std::size_t>(length) == found.size()) return ENAMETOOLONG;
  text.assign(found.data(), static_cast<std::size_t>(length));
  return 0;
}

std::optional<std::string> readOwnLinkText(int item, int folder, const std::string& name) {
  std::string text;
  const int error = readLinkText(folder, name, text);
  if (error == 0 && isStill(item, folder, name)) return text;
  errno = error != 0 ? error : ESTALE;
  return std::nullopt;
}

/// Memory cards have a single owner for everything, and servers map root to nobody.
int checkOwner(int folder, const struct stat& found) {
  if (found.st_uid == ::geteuid()) return 0;
  uid_t owner = 0;
  if (const int error = ownerOfNewFile(folder, owner)) return error;
  return found.st_uid == owner ? 0 : ESTALE;
}

int checkOwnFolder(int folder, int item) {
  struct stat found {};
  if (::fstat(item, &found) != 0) return errno;
  if (const int error = checkOwner(folder, found)) return error;
  if ((found.st_mode & kRightsOfOthers) == 0) return 0;
  constexpr mode_t kPermissions = 07777;
  return keepsNoModes(item, found.st_mode & kPermissions) ? 0 : ESTALE;
}

}  // namespace qm::posix
