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

ThreadIds threadIds() { return {.user = ::geteuid(), .group = ::getegid()}; }

}  // namespace

FileSystemUser::FileSystemUser(const FileSystemIdentity* identity) : identity_(identity) {
  if (identity_ == nullptr) return;
  own_ = {::geteuid(), ::getegid(), {}};
  enter();
}

void FileSystemUser::enter() {
  if (!isAnothers(identity_, own_.uid)) return;
  const ThreadIds wanted = idsOfThread(*identity_);
  taken_.take(
      wanted, [&] { return setThreadIdentity(wanted.user, wanted.group); }, threadIds, FailedCall::TookNothing);
}

void FileSystemUser::leave() {
  taken_.giveBack(
      {own_.uid, own_.gid}, [] { return setThreadIdentity(KAUTH_UID_NONE, KAUTH_GID_NONE); }, threadIds);
}

}  // namespace qm::posix
