// SPDX-License-Identifier: MIT

// A queue of kernel events that waits for one child's exit. The event is never taken out of it, so that the queue stays
// readable for poll(2) from the exit on, however many threads look.
#include <sys/types.h>

#include <sys/event.h>

#include <cerrno>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/ProcessHandle.h"

namespace qm::posix {
namespace {

bool change(int queue, uintptr_t ident, std::int16_t filter, std::uint16_t flags, std::uint32_t details) {
  struct kevent event {};
  EV_SET(&event, ident, filter, flags, details, 0, nullptr);
  return ::kevent(queue, &event, 1, nullptr, 0, nullptr) == 0;
}

/// A child that has exited already is not found any more: the queue is made readable at once.
bool watch(int queue, pid_t process) {
  if (change(queue, static_cast<uintptr_t>(process), EVFILT_PROC, EV_ADD, NOTE_EXIT)) return true;
  return errno == ESRCH && change(queue, 0, EVFILT_USER, EV_ADD, 0) && change(queue, 0, EVFILT_USER, 0, NOTE_TRIGGER);
}

}  // namespace

ProcessHandle ProcessHandle::open(pid_t process) {
  UniqueFd queue = aboveStandardStreams(UniqueFd(::kqueue()));
  if (!queue || !watch(queue.get(), process)) return {};
  return ProcessHandle(std::move(queue), process);
}

}  // namespace qm::posix
