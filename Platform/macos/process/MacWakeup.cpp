// SPDX-License-Identifier: MIT

// A wakeup is a queue of kernel events with one event that this process triggers itself (EVFILT_USER). The queue is
// readable from `raise` until `lower`. A child never inherits such a queue.
#include "Platform/macos/process/KernelEvents.h"
#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/KernelQueue.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {
namespace {

int change(int queue, std::uint16_t flags, std::uint32_t details) {
  return changeEvents(queue, {eventChange(0, EVFILT_USER, flags, details)});
}

}  // namespace

Wakeup::Wakeup()
    : descriptor_(preparedQueue(aboveStandardStreams(UniqueFd(::kqueue())),
                                [](int queue) { return change(queue, EV_ADD | EV_CLEAR, 0); })) {}

/// Triggering an event that the queue has cannot fail.
void Wakeup::raise() const { static_cast<void>(change(descriptor(), 0, NOTE_TRIGGER)); }

void Wakeup::lower() const {
  struct kevent event {};
  const timespec now{};
  ::kevent(descriptor(), nullptr, 0, &event, 1, &now);
}

}  // namespace qm::posix
