// SPDX-License-Identifier: MIT

// Processes and wakeups as queues of kernel events (kqueue), and what a Mac's calls do to start a child.
#include <crt_externs.h>
#include <sys/types.h>

#include <sys/event.h>

#include <cerrno>
#include <cstdint>
#include <initializer_list>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/KernelQueue.h"
#include "Platform/posix/process/ProcessHandle.h"
#include "Platform/posix/process/SpawnRequest.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {
namespace {

struct kevent change(uintptr_t ident, std::int16_t filter, std::uint16_t flags, std::uint32_t details) {
  struct kevent event {};
  EV_SET(&event, ident, filter, flags, details, 0, nullptr);
  return event;
}

struct kevent changeOfUserEvent(std::uint16_t flags, std::uint32_t details = 0) {
  return change(0, EVFILT_USER, flags, details);
}

/// Makes the changes in their order. Returns 0 or an error number.
int changeEvents(int queue, std::initializer_list<struct kevent> changes) {
  const int count = static_cast<int>(changes.size());
  return ::kevent(queue, changes.begin(), count, nullptr, 0, nullptr) == 0 ? 0 : errno;
}

}  // namespace

/// The descriptor of a handle is a queue that waits for one child's exit. The event is never taken out of the queue. So
/// the queue stays readable for poll(2) from the exit on, for any number of threads.
ProcessHandle ProcessHandle::open(pid_t process) {
  const auto watch = [process](int queue) {
    return changeEvents(queue, {change(static_cast<uintptr_t>(process), EVFILT_PROC, EV_ADD, NOTE_EXIT)});
  };
  const auto announce = [](int queue) {
    return changeEvents(queue, {changeOfUserEvent(EV_ADD), changeOfUserEvent(0, NOTE_TRIGGER)});
  };
  return {queueForExit(aboveStandardStreams(UniqueFd(::kqueue())), watch, announce), process};
}

/// The queue has one event that this process triggers itself. It is readable from `raise` until `lower`. A child never
/// inherits such a queue.
Wakeup::Wakeup()
    : descriptor_(preparedQueue(aboveStandardStreams(UniqueFd(::kqueue())), [](int queue) {
        return changeEvents(queue, {changeOfUserEvent(EV_ADD | EV_CLEAR)});
      })) {}

/// Triggering an event that the queue has cannot fail.
void Wakeup::raise() const { static_cast<void>(changeEvents(descriptor(), {changeOfUserEvent(0, NOTE_TRIGGER)})); }

void Wakeup::lower() const {
  struct kevent event {};
  const timespec now{};
  ::kevent(descriptor(), nullptr, 0, &event, 1, &now);
}

/// On a Mac this is an attribute of the child: every descriptor that no action names is closed.
int closeAllButStandardStreams(posix_spawn_file_actions_t* /*actions*/, posix_spawnattr_t* attributes) {
  short flags = 0;
  if (const int error = ::posix_spawnattr_getflags(attributes, &flags)) return error;
  return ::posix_spawnattr_setflags(attributes, static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT));
}

int keepStream(posix_spawn_file_actions_t* actions, int stream) {
  return ::posix_spawn_file_actions_addinherit_np(actions, stream);
}

char** ownEnvironment() { return *::_NSGetEnviron(); }

}  // namespace qm::posix
