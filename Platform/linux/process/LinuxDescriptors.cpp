// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "Platform/posix/process/Descriptors.h"

namespace qm::posix {
namespace {

constexpr int kDefaultCapacity = 65536;
constexpr int kUsualLargestCapacity = 1048576;

int readLargestCapacity() {
  const UniqueFd file(::open("/proc/sys/fs/pipe-max-size", O_RDONLY | O_CLOEXEC));
  char digits[32] = {};
  if (!file || ::read(file.get(), digits, sizeof(digits) - 1) <= 0) return kUsualLargestCapacity;
  const long capacity = std::strtol(digits, nullptr, 10);
  return capacity >= kDefaultCapacity && capacity <= (1L << 30) ? static_cast<int>(capacity) : kUsualLargestCapacity;
}

// The system limits the capacity of all of a user's pipes together. Near that limit it refuses the largest sizes, and
// at the limit every one above the default.
void growPipe(int descriptor) {
  static const int largest = readLargestCapacity();
  for (int capacity = largest; capacity > kDefaultCapacity; capacity /= 2) {
    if (::fcntl(descriptor, F_SETPIPE_SZ, capacity) >= 0) return;
  }
}

}  // namespace

Pipe makePipe() {
  int ends[2] = {-1, -1};
  Pipe none;
  if (::pipe2(ends, O_CLOEXEC) < 0) return none;
  Pipe pipe{aboveStandardStreams(UniqueFd(ends[0])), aboveStandardStreams(UniqueFd(ends[1]))};
  return pipe.reading && pipe.writing ? std::move(pipe) : std::move(none);
}

Pipe makeLargestPipe() {
  Pipe pipe = makePipe();
  if (pipe.writing) growPipe(pipe.writing.get());
  return pipe;
}

}  // namespace qm::posix
