#include <elf.h>
#include <sys/uio.h>
#include <sys/user.h>

#include "tests/faults/Tracing.h"

namespace qm::testing {

bool answerCall(pid_t task, int error) {
  user_regs_struct registers{};
  iovec area{&registers, sizeof registers};
  if (trace(PTRACE_GETREGSET, task, NT_PRSTATUS, &area) != 0) return false;
  registers.orig_rax = ~0ULL;  // no such call
  registers.rax = static_cast<unsigned long long>(-static_cast<long long>(error));
  return trace(PTRACE_SETREGSET, task, NT_PRSTATUS, &area) == 0;
}

}  // namespace qm::testing
