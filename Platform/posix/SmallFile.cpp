// SPDX-License-Identifier: MIT
#include "Platform/posix/SmallFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

bool isSmallRegularFile(const struct stat& file, std::size_t limit) {
  return S_ISREG(file.st_mode) && file.st_size >= 0 && static_cast<std::size_t>(file.st_size) <= limit;
}

struct OpenFile {
  UniqueFd descriptor;
  std::size_t size = 0;
};

OpenFile openSmallRegularFile(const std::string& path, std::size_t limit) {
  // Opening a device may have an effect, so the item's type is checked first. A check after opening it ensures that
  // nothing was put in its place meanwhile.
  OpenFile opened{UniqueFd()};
  struct stat file {};
  if (path.find('\0') != std::string::npos || ::stat(path.c_str(), &file) < 0) return opened;
  if (!isSmallRegularFile(file, limit)) return opened;
  UniqueFd descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (!descriptor || ::fstat(descriptor.get(), &file) < 0 || !isSmallRegularFile(file, limit)) return opened;
  return {std::move(descriptor), static_cast<std::size_t>(file.st_size)};
}

}  // namespace

std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit) {
  const OpenFile file = openSmallRegularFile(path, limit);
  if (!file.descriptor) return std::nullopt;
  // One byte more than the expected size, to notice a file that has grown meanwhile.
  std::string bytes(file.size + 1, '\0');
  std::size_t length = 0;
  while (length < bytes.size()) {
    const ssize_t count = ::read(file.descriptor.get(), bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  if (length > file.size) return std::nullopt;
  bytes.resize(length);
  return bytes;
}

}  // namespace qm::posix
