// SPDX-License-Identifier: MIT

// A wakeup is a queue of kernel events (kqueue) with one event that this process triggers itself (EVFILT_USER). The
// queue is readable from `raise` until `lower`. A child never inherits such a queue.
#include <sys/types.h>

#include <sys/event.h>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {
namespace {

struct kevent theEvent(std::uint16_t flags, std::uint32_t details) {
  struct kevent event {};
  EV_SET(&event, 0, EVFILT_USER, flags, details, 0, nullptr);
  return event;
}

bool change(int queue, std::uint16_t flags, std::uint32_t details) {
  const struct kevent event = theEvent(flags, details);
  return ::kevent(queue, &event, 1, nullptr, 0, nullptr) == 0;
}

UniqueFd makeQueue() {
  UniqueFd queue = aboveStandardStreams(UniqueFd(::kqueue()));
  return queue && change(queue.get(), EV_ADD | EV_CLEAR, 0) ? std::move(queue) : UniqueFd();
}

}  // namespace

Wakeup::Wakeup() : descriptor_(makeQueue()) {}

void Wakeup::raise() const { change(descriptor(), 0, NOTE_TRIGGER); }

void Wakeup::lower() const {
  struct kevent event {};
  const timespec now{};
  ::kevent(descriptor(), nullptr, 0, &event, 1, &now);
}

}  // namespace qm::posix
