// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <utility>

#include "Platform/posix/UniqueFd.h"

/// How a queue of kernel events is set up. The system's calls are parameters; each returns 0 or an error number.
namespace qm::posix {

/// The queue, if `prepare` succeeds for it. Otherwise none, and `errno` has the reason: a queue without its event would
/// never become readable.
template <class Prepare>
UniqueFd preparedQueue(UniqueFd queue, Prepare prepare) {
  if (!queue) return queue;
  if (const int error = prepare(queue.get())) {
    queue.reset();
    errno = error;
  }
  return queue;
}

/// The queue, which becomes readable once a process has exited. `watch` has it wait for the exit. The system does not
/// find a process that has already exited (ESRCH). Then `announce` makes the queue readable at once.
template <class Watch, class Announce>
UniqueFd queueForExit(UniqueFd queue, Watch watch, Announce announce) {
  return preparedQueue(std::move(queue), [&](int made) {
    const int error = watch(made);
    return error == ESRCH ? announce(made) : error;
  });
}

}  // namespace qm::posix
