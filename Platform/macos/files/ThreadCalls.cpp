// SPDX-License-Identifier: MIT
#include <sys/kauth.h>
#include <unistd.h>

#include "Platform/macos/files/ThreadGroup.h"

namespace qm::posix {

ThreadIds threadIds() { return {.user = ::geteuid(), .group = ::getegid()}; }

// Deprecated since 10.12, but without a successor: no other call gives a single thread the rights of a user.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
bool setThreadIdentity(const ThreadIds& wanted) { return ::pthread_setugid_np(wanted.user, wanted.group) == 0; }
bool dropThreadIdentity() { return ::pthread_setugid_np(KAUTH_UID_NONE, KAUTH_GID_NONE) == 0; }
#pragma clang diagnostic pop

}  // namespace qm::posix
