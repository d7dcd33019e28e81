// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace qm::posix {

/// The result of a system call, which is made again as long as a signal interrupts it.
template <class Call>
ssize_t uninterrupted(Call call) {
  ssize_t result = 0;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

/// Blocks for bytes, and returns how many were read; 0 at the end and on an error.
inline std::size_t readOnce(int fd, char* bytes, std::size_t size) {
  const ssize_t got = uninterrupted([&] { return ::read(fd, bytes, size); });
  return static_cast<std::size_t>(std::max<ssize_t>(got, 0));
}

}  // namespace qm::posix
