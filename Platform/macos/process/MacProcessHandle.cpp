// SPDX-License-Identifier: MIT

// The descriptor of a handle is a queue of kernel events (kqueue) that waits for one child's exit. The event is never
// taken out of the queue. So the queue stays readable for poll(2) from the exit on, for any number of threads.
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

/// The system does not find a child that has already exited (ESRCH). Then an event that is triggered here makes the
/// queue readable at once.
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
