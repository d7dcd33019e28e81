// SPDX-License-Identifier: MIT

// The descriptor of a handle is a queue of kernel events that waits for one child's exit. The event is never taken out
// of the queue. So the queue stays readable for poll(2) from the exit on, for any number of threads.
#include "Platform/macos/process/KernelEvents.h"
#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/KernelQueue.h"
#include "Platform/posix/process/ProcessHandle.h"

namespace qm::posix {

ProcessHandle ProcessHandle::open(pid_t process) {
  const auto watch = [process](int queue) {
    return changeEvents(queue, {eventChange(static_cast<uintptr_t>(process), EVFILT_PROC, EV_ADD, NOTE_EXIT)});
  };
  const auto announce = [](int queue) {
    return changeEvents(queue, {eventChange(0, EVFILT_USER, EV_ADD, 0), eventChange(0, EVFILT_USER, 0, NOTE_TRIGGER)});
  };
  return {queueForExit(aboveStandardStreams(UniqueFd(::kqueue())), watch, announce), process};
}

}  // namespace qm::posix
