// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <sys/event.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>

namespace qm::posix {

/// A change of an event in a queue of kernel events (kqueue).
inline struct kevent eventChange(uintptr_t ident, std::int16_t filter, std::uint16_t flags, std::uint32_t details) {
  struct kevent event {};
  EV_SET(&event, ident, filter, flags, details, 0, nullptr);
  return event;
}

/// Makes the changes in their order. Returns 0 or an error number.
inline int changeEvents(int queue, std::initializer_list<struct kevent> changes) {
  const int count = static_cast<int>(changes.size());
  return ::kevent(queue, changes.begin(), count, nullptr, 0, nullptr) == 0 ? 0 : errno;
}

}  // namespace qm::posix
