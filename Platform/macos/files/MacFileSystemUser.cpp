// SPDX-License-Identifier: MIT

// The thread's own identity. The system finds out a person's groups by itself while one is set.
#include <sys/kauth.h>
#include <unistd.h>

#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {
namespace {

// Marked as deprecated since 10.12, and without a successor: nothing else gives one thread the rights of a person.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
bool setThreadIdentity(uid_t user, gid_t group) { return ::pthread_setugid_np(user, group) == 0; }
#pragma clang diagnostic pop

bool become(const FileSystemIdentity& identity) {
  return setThreadIdentity(identity.uid, identity.gid) && ::geteuid() == identity.uid && ::getegid() == identity.gid;
}

}  // namespace

FileSystemUser::FileSystemUser(const FileSystemIdentity* identity) : identity_(identity) {
  if (identity_ == nullptr) return;
  own_ = {::geteuid(), ::getegid(), {}};
  enter();
}

void FileSystemUser::enter() {
  if (identity_ == nullptr || entered_) return;
  entered_ = true;
  ok_ = become(*identity_);
}

/// A thread that stayed somebody else could neither finish nor undo what it has begun: it is tried more than once.
void FileSystemUser::leave() {
  constexpr int kTries = 3;
  if (!entered_) return;
  entered_ = false;
  for (int time = 0; time < kTries && ::geteuid() != own_.uid; ++time) {
    static_cast<void>(setThreadIdentity(KAUTH_UID_NONE, KAUTH_GID_NONE));
  }
}

}  // namespace qm::posix
