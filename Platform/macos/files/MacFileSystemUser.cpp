// SPDX-License-Identifier: MIT

// On a Mac a thread can have an identity of its own. While it has one, it has a single group, because the system does
// not look up the user's other groups.
#include <sys/kauth.h>
#include <unistd.h>

#include "Platform/macos/files/ThreadGroup.h"
#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {
namespace {

// Deprecated since 10.12, but without a successor: no other call gives a single thread the rights of a user.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
bool setThreadIdentity(uid_t user, gid_t group) { return ::pthread_setugid_np(user, group) == 0; }
#pragma clang diagnostic pop

bool become(const FileSystemIdentity& identity) {
  const gid_t group = groupOfThread(identity);
  return setThreadIdentity(identity.uid, group) && ::geteuid() == identity.uid && ::getegid() == group;
}

}  // namespace

FileSystemUser::FileSystemUser(const FileSystemIdentity* identity) : identity_(identity) {
  if (identity_ == nullptr) return;
  own_ = {::geteuid(), ::getegid(), {}};
  enter();
}

/// Does nothing if the identity is the process's own, because the thread has these rights already. On some systems such
/// an identity could not be given up again.
void FileSystemUser::enter() {
  if (identity_ == nullptr || entered_ || identity_->uid == own_.uid) return;
  entered_ = true;
  ok_ = become(*identity_);
}

/// Tries more than once, because a thread that kept the other identity could neither finish nor undo what it has begun.
void FileSystemUser::leave() {
  constexpr int kTries = 3;
  if (!entered_) return;
  entered_ = false;
  int time = 0;
  while (time < kTries && !setThreadIdentity(KAUTH_UID_NONE, KAUTH_GID_NONE)) ++time;
}

}  // namespace qm::posix
