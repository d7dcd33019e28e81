// SPDX-License-Identifier: MIT
#include "Platform/linux/desktop/ThreadUser.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace qm::linux_ {
namespace {

constexpr uid_t kUnchanged = ~uid_t{0};

// The C library's call changes every thread of the process; the system call changes only this one. The real and the
// saved id stay root's, which allows the way back and prevents the other user's processes from sending signals.
bool setThreadUser(uid_t user) { return ::syscall(SYS_setresuid, kUnchanged, user, kUnchanged) == 0; }

}  // namespace

ThreadUser::ThreadUser(const FileSystemIdentity* identity) : files_(identity) {
  if (identity == nullptr) return;
  entered_ = files_.ok() && setThreadUser(identity->uid);
  ok_ = entered_;
}

ThreadUser::~ThreadUser() {
  if (entered_) setThreadUser(0);
}

}  // namespace qm::linux_
