// SPDX-License-Identifier: MIT

// The thread's own identity. While one is set the thread has one group and no other: the system does not look up which
// groups the person has.
#include <sys/kauth.h>
#include <unistd.h>

#include "Platform/macos/files/ThreadGroup.h"
#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {
namespace {

// Marked as deprecated since 10.12, and without a successor: nothing else gives one thread the rights of a person.
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

/// Root's rights are there already. Some systems would keep such an identity as one that cannot be given up.
void FileSystemUser::enter() {
  if (identity_ == nullptr || entered_ || identity_->uid == own_.uid) return;
  entered_ = true;
  ok_ = become(*identity_);
}

/// A thread that stayed somebody else could neither finish nor undo what it has begun: it is tried more than once.
void FileSystemUser::leave() {
  constexpr int kTries = 3;
  if (!entered_) return;
  entered_ = false;
  int time = 0;
  while (time < kTries && !setThreadIdentity(KAUTH_UID_NONE, KAUTH_GID_NONE)) ++time;
}

}  // namespace qm::posix
