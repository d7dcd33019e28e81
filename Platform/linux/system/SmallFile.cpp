#include "Platform/linux/system/SmallFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {
namespace {

bool isSmallRegularFile(const struct stat& file, std::size_t limit) {
  return S_ISREG(file.st_mode) && file.st_size >= 0 && static_cast<std::size_t>(file.st_size) <= limit;
}

posix::UniqueFd openSmallRegularFile(const std::string& path, std::size_t limit) {
  // Opening a device may do something, so what is there is looked at first; a look after the opening sees that nothing
  // was put in its place meanwhile.
  struct stat file {};
  if (path.find('\0') != std::string::npos || ::stat(path.c_str(), &file) < 0 || !isSmallRegularFile(file, limit)) {
    return posix::UniqueFd();
  }
  posix::UniqueFd opened(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (opened && (::fstat(opened.get(), &file) < 0 || !isSmallRegularFile(file, limit))) opened.reset();
  return opened;
}

}  // namespace

std::optional<std::string> readSmallFile(const std::string& path, std::size_t limit) {
  const posix::UniqueFd file = openSmallRegularFile(path, limit);
  if (!file) return std::nullopt;
  // One byte more than allowed shows a file that grew.
  std::string bytes(limit + 1, '\0');
  std::size_t length = 0;
  while (length < bytes.size()) {
    const ssize_t count = ::read(file.get(), bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    length += static_cast<std::size_t>(count);
  }
  if (length > limit) return std::nullopt;
  bytes.resize(length);
  return bytes;
}

}  // namespace qm::linux_
