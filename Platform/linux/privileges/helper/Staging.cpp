#include "Platform/linux/privileges/helper/Staging.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "Platform/linux/privileges/helper/FolderEntries.h"
#include "Platform/linux/privileges/helper/Ownership.h"
#include "Platform/posix/RenameWithoutReplacing.h"

namespace qm::linux_ {
namespace {

using posix::UniqueFd;

constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

std::string randomName() {
  constexpr std::string_view digits = "0123456789abcdef";
  std::array<unsigned char, 8> bytes{};
  if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) return {};
  std::string name = ".tessaly-uninstaller-";
  for (const unsigned char byte : bytes) {
    name += digits[byte >> 4U];
    name += digits[byte & 15U];
  }
  return name;
}

// Somebody may have put another folder in its place already; only one that is closed to him will do.
bool isRootsOwn(int fd) {
  const auto status = statusOf(fd);
  return status && status->st_uid == 0 && (status->st_mode & kPermissions) == S_IRWXU;
}

}  // namespace

Answer<Staging> Staging::make(int folder) {
  const std::string name = randomName();
  const auto refusal = [&](int error) { return Refusal{error, shownPath(folder) + ": " + std::strerror(error)}; };
  if (name.empty()) return refusal(EIO);
  if (::mkdirat(folder, name.c_str(), S_IRWXU) != 0) return refusal(errno);
  UniqueFd fd(::openat(folder, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!fd) return refusal(errno);
  Staging staging(folder, name, std::move(fd));
  if (!isRootsOwn(staging.folder())) return refusal(EPERM);
  return staging;
}

// A folder with something in it stays: better in the way than lost.
Staging::~Staging() {
  if (fd_) ::unlinkat(above_, own_.c_str(), AT_REMOVEDIR);
}

int Staging::publish(const std::string& name) const {
  return ::renameat(folder(), name.c_str(), above_, name.c_str()) == 0 ? 0 : errno;
}

int Staging::publishAs(const std::string& name, const std::string& newName) const {
  return posix::renameWithoutReplacing({folder(), name}, {above_, newName});
}

}  // namespace qm::linux_
