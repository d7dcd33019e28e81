// SPDX-License-Identifier: MIT
#include "Platform/macos/system/MacPropertyLists.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/UniqueFd.h"

namespace qm::macos {
namespace {

constexpr off_t kLargest = off_t{16} * 1024 * 1024;

/// Never waits: a FIFO is no property list.
std::optional<std::string> contentsOf(const std::string& path) {
  const posix::UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat found {};
  if (!file || ::fstat(file.get(), &found) != 0) return std::nullopt;
  if (!S_ISREG(found.st_mode) || found.st_size > kLargest) return std::nullopt;
  std::string bytes(static_cast<std::size_t>(found.st_size), '\0');
  std::size_t length = 0;
  while (length < bytes.size()) {
    const ssize_t count = ::read(file.get(), bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    length += static_cast<std::size_t>(count);
  }
  bytes.resize(length);
  return bytes;
}

}  // namespace

std::optional<platform::PropertyList> MacPropertyLists::read(const std::string& path) const {
  const std::optional<std::string> bytes = contentsOf(path);
  return bytes ? parsedPropertyList(*bytes) : std::nullopt;
}

}  // namespace qm::macos
