// SPDX-License-Identifier: MIT
#pragma once

#include <poll.h>

#include <cerrno>

namespace qm::posix {

constexpr int kWithoutLimit = -1;

/// Waits until the descriptor is readable, at most that many milliseconds. Signals do not end the wait. Any thread.
inline bool isReadable(int descriptor, int milliseconds) {
  pollfd entry{.fd = descriptor, .events = POLLIN, .revents = 0};
  int ready = 0;
  do {
    ready = ::poll(&entry, 1, milliseconds);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

}  // namespace qm::posix
