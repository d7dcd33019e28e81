// SPDX-License-Identifier: MIT
#pragma once

#include <linux/ptrace.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace qm::testing {

/// One request to the kernel about a stopped task of a traced process. -1 and errno if it is refused.
inline long trace(long request, pid_t task, unsigned long address = 0, const void* data = nullptr) {
  return ::syscall(SYS_ptrace, request, task, address, data);
}

/// Makes the kernel skip the system call that `task` is about to make; it returns at once. `processor` is the one that
/// the kernel reports (AUDIT_ARCH_...); false for one whose registers are not known.
bool forgetCall(pid_t task, unsigned processor);

/// Makes the present call of `task` return this error.
bool setError(pid_t task, unsigned processor, int error);

}  // namespace qm::testing
