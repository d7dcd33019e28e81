// SPDX-License-Identifier: MIT

// A queue of kernel events that waits for one child's exit. The event is never taken out of it, so that the queue stays
// readable for poll(2) from the exit on, however many threads look.
#include <poll.h>
#include <signal.h>
#include <sys/event.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdint>

#include "Platform/posix/process/Descriptors.h"
#include "Platform/posix/process/ProcessHandle.h"

namespace qm::posix {
namespace {

constexpr int kNoLimit = -1;

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

bool isReadable(int descriptor, int milliseconds) {
  pollfd entry{descriptor, POLLIN, 0};
  int ready = 0;
  do {
    ready = ::poll(&entry, 1, milliseconds);
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

}  // namespace

ProcessHandle ProcessHandle::open(pid_t process) {
  UniqueFd queue = aboveStandardStreams(UniqueFd(::kqueue()));
  if (!queue || !watch(queue.get(), process)) return {};
  return ProcessHandle(std::move(queue), process);
}

void ProcessHandle::waitForExit() const { isReadable(descriptor(), kNoLimit); }

std::optional<int> ProcessHandle::reap() const {
  if (!isReadable(descriptor(), 0)) return std::nullopt;
  int status = 0;
  pid_t found = 0;
  do {
    found = ::waitpid(process_, &status, 0);  // it has exited: this does not block
  } while (found < 0 && errno == EINTR);
  if (found != process_) return kUnknownStatus;
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

/// One that has ended keeps its number until it is reaped, or until somebody else reaps it: then it is left alone.
void ProcessHandle::signal(int number) const {
  if (!isReadable(descriptor(), 0)) ::kill(process_, number);
}

}  // namespace qm::posix
