#include "Platform/posix/FileContents.h"

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
namespace {

constexpr std::size_t kBlock = 262'144;
/// Below this a plain read and write are quicker than the kernel's own copying.
constexpr off_t kSmallFile = 65'536;
constexpr off_t kStatBlock = 512;

/// A part of a file, from `begin` to `end`.
struct Range {
  off_t begin = 0;
  off_t end = 0;

  bool empty() const { return begin >= end; }
  std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

ssize_t retried(auto call) {
  ssize_t answer = 0;
  do {
    answer = call();
  } while (answer < 0 && errno == EINTR);
  return answer;
}

int writeAt(int file, const char* bytes, std::size_t count, off_t offset) {
  while (count > 0) {
    const ssize_t written = retried([&] { return ::pwrite(file, bytes, count, offset); });
    if (written < 0) return errno;
    bytes += written;
    offset += written;
    count -= static_cast<std::size_t>(written);
  }
  return 0;
}

/// Copies as much as the kernel copies by itself and leaves the rest in `range`.
void copyInKernel(int from, int to, Range& range) {
  while (!range.empty()) {
    const ssize_t copied = retried([&] { return copyRange(from, to, range.begin, range.size()); });
    // The reason is found again, if it is one, by the plain copy that follows.
    if (copied <= 0) return;
    range.begin += copied;
  }
}

int copyByBlocks(int from, int to, Range range) {
  const std::size_t size = std::min(kBlock, range.size());
  const auto block = std::make_unique_for_overwrite<char[]>(size);
  while (!range.empty()) {
    const std::size_t wanted = std::min(size, range.size());
    const ssize_t got = retried([&] { return ::pread(from, block.get(), wanted, range.begin); });
    if (got < 0) return errno;
    if (got == 0) return 0;  // it was cut off meanwhile
    if (const int error = writeAt(to, block.get(), static_cast<std::size_t>(got), range.begin)) return error;
    range.begin += got;
  }
  return 0;
}

int copyData(int from, int to, Range range) {
  if (range.end - range.begin > kSmallFile) copyInKernel(from, to, range);
  return range.empty() ? 0 : copyByBlocks(from, to, range);
}

/// The next part with data at or after `offset`; empty when there is none before `size`.
Range nextData(int file, off_t offset, off_t size) {
  const off_t begin = ::lseek(file, offset, SEEK_DATA);
  // ENXIO: only a hole is left. Anything else: the file system cannot tell, so all of it is data.
  if (begin < 0) return errno == ENXIO ? Range{size, size} : Range{offset, size};
  const off_t end = ::lseek(file, begin, SEEK_HOLE);
  return {begin, end < 0 ? size : std::min(end, size)};
}

int copyWithHoles(int from, int to, off_t size) {
  if (::ftruncate(to, size) != 0) return errno;
  for (Range data = nextData(from, 0, size); !data.empty(); data = nextData(from, data.end, size)) {
    if (const int error = copyData(from, to, data)) return error;
    if (data.end >= size) break;
  }
  return 0;
}

}  // namespace

int writeAll(int file, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = retried([&] { return ::write(file, bytes, count); });
    if (written < 0) return errno;
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
  return 0;
}

int copyContents(int from, int to, const struct stat& attributes) {
  const bool hasHoles = static_cast<off_t>(attributes.st_blocks) * kStatBlock < attributes.st_size;
  return hasHoles ? copyWithHoles(from, to, attributes.st_size) : copyData(from, to, {0, attributes.st_size});
}

}  // namespace qm::posix
