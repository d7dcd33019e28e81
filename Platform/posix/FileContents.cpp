// SPDX-License-Identifier: MIT
#include "Platform/posix/FileContents.h"

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {

/// A part of a file, from `begin` to `end`.
struct ContentsCopier::Range {
  off_t begin = 0;
  off_t end = 0;

  bool empty() const { return begin >= end; }
  std::size_t size() const { return static_cast<std::size_t>(end - begin); }
};

namespace {

constexpr std::size_t kBlock = 262'144;
/// The observer of a big file is called after each block of this size.
constexpr std::size_t kKernelBlock = 4'194'304;
/// Below this size, plain reads and writes are faster than the kernel's own copying.
constexpr off_t kSmallFile = 65'536;
/// Below this size, reserving space takes longer than it saves.
constexpr std::size_t kWorthReserving = 1'048'576;
constexpr off_t kStatBlock = 512;

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

/// The begin and end of the next data at or after `offset`; both are `size` if there is none.
std::pair<off_t, off_t> nextData(int file, off_t offset, off_t size) {
  const off_t begin = ::lseek(file, offset, SEEK_DATA);
  // ENXIO means that at most a hole remains. After any other error the file system cannot tell, so everything counts as
  // data.
  if (begin < 0) return {errno == ENXIO ? size : offset, size};
  if (begin >= size) return {size, size};
  const off_t end = ::lseek(file, begin, SEEK_HOLE);
  return {begin, end < 0 ? size : std::min(end, size)};
}

/// The error applies to all files of the volume, not only to this one.
bool holdsForTheVolume(int error) {
  return error == ENOTSUP || error == ENOTTY || error == EXDEV || error == ENOSYS || error == EINVAL;
}

/// If a volume does not support a method, that method is not tried again for the next file of this volume.
bool succeeds(std::optional<dev_t>& unable, const struct stat& attributes, auto call) {
  if (attributes.st_size == 0 || unable == attributes.st_dev) return false;
  const int error = call();
  if (holdsForTheVolume(error)) unable = attributes.st_dev;
  return error == 0;
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

int ContentsCopier::copy(int from, int to, const struct stat& attributes) {
  if (share(from, to, attributes)) return reportWhole(attributes);
  const bool hasHoles = static_cast<off_t>(attributes.st_blocks) * kStatBlock < attributes.st_size;
  return hasHoles ? copyWithHoles(from, to, attributes.st_size) : copyData(from, to, {0, attributes.st_size});
}

bool ContentsCopier::share(int from, int to, const struct stat& attributes) {
  return succeeds(unshareable_, attributes, [&] { return shareContents(from, to); });
}

bool ContentsCopier::makeClone(int from, ItemName to, const struct stat& attributes, UniqueFd& clone) {
  return succeeds(uncloneable_, attributes, [&] { return posix::makeClone(from, to.folder, to.name.c_str(), clone); });
}

int ContentsCopier::reportWhole(const struct stat& attributes) {
  return observer_.bytesCopied(static_cast<std::uint64_t>(attributes.st_size));
}

int ContentsCopier::copyWithHoles(int from, int to, off_t size) {
  if (::ftruncate(to, size) != 0) return errno;
  for (off_t done = 0; done < size;) {
    const auto [begin, end] = nextData(from, done, size);
    if (begin == size) return endWithHole(from, to, {done, size});
    if (const int error = observer_.bytesCopied(static_cast<std::uint64_t>(begin - done))) return error;
    if (const int error = copyData(from, to, {begin, end})) return error;
    done = cutOff_ ? size : end;
  }
  return 0;
}

/// No data remains: the rest is a hole, or the source was truncated.
int ContentsCopier::endWithHole(int from, int to, Range hole) {
  struct stat now {};
  if (::fstat(from, &now) != 0) return errno;
  if (now.st_size < hole.end) {
    hole.end = std::max(hole.begin, now.st_size);
    if (::ftruncate(to, hole.end) != 0) return errno;
  }
  return observer_.bytesCopied(hole.size());
}

int ContentsCopier::copyData(int from, int to, Range range) {
  int error = range.end - range.begin > kSmallFile ? copyInKernel(from, to, range) : 0;
  if (error == 0 && !range.empty()) error = copyByBlocks(from, to, range);
  cutOff_ = error == 0 && !range.empty();
  return cutOff_ ? errorOf(::ftruncate(to, range.begin)) : error;
}

/// Copies as much as the kernel can copy by itself and leaves the rest in `range`.
int ContentsCopier::copyInKernel(int from, int to, Range& range) {
  while (!range.empty()) {
    const std::size_t wanted = std::min(kKernelBlock, range.size());
    if (reserves_ && wanted >= kWorthReserving) reserves_ = reserveSpace(to, range.begin, wanted) == 0;
    const ssize_t copied = retried([&] { return copyRange(from, to, range.begin, wanted); });
    // If this was a real error, the plain copy that follows will fail with it, too.
    if (copied <= 0) return 0;
    range.begin += copied;
    if (const int error = observer_.bytesCopied(static_cast<std::uint64_t>(copied))) return error;
  }
  return 0;
}

/// If the source was truncated meanwhile, the missing part remains in `range`.
int ContentsCopier::copyByBlocks(int from, int to, Range& range) {
  if (!block_) block_ = std::make_unique_for_overwrite<char[]>(kBlock);
  while (!range.empty()) {
    const std::size_t wanted = std::min(kBlock, range.size());
    const ssize_t got = retried([&] { return ::pread(from, block_.get(), wanted, range.begin); });
    if (got < 0) return errno;
    if (got == 0) return 0;
    if (const int error = writeAt(to, block_.get(), static_cast<std::size_t>(got), range.begin)) return error;
    range.begin += got;
    if (const int error = observer_.bytesCopied(static_cast<std::uint64_t>(got))) return error;
  }
  return 0;
}

}  // namespace qm::posix
