#pragma once

#include <linux/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace qm::testing {

/// One request to the kernel about a stopped task of a traced process. -1 and errno where it is refused.
inline long trace(long request, pid_t task, unsigned long address = 0, const void* data = nullptr) {
  return ::syscall(SYS_ptrace, request, task, address, data);
}

/// Has the system call before which `task` stands not be made: it returns with `error`. Differs from processor
/// to processor.
bool answerCall(pid_t task, int error);

}  // namespace qm::testing
