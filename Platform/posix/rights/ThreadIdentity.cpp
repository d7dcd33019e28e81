// SPDX-License-Identifier: MIT

// On a Mac a thread can have an identity of its own. While it has one, it can take no other, and it has a single group,
// because the system does not look up the user's other groups.
#include "Platform/posix/rights/ThreadIdentity.h"

namespace qm::posix {

FileSystemUser::FileSystemUser(const FileSystemIdentity* identity) : identity_(identity) {
  const ThreadIds own = threadIds();
  own_ = {own.user, own.group, {}};
  enter();
}

void FileSystemUser::enter() {
  if (!isAnothers(identity_, own_.uid)) return;
  const ThreadIds wanted = idsOfThread(*identity_);
  taken_.take(
      wanted, [&] { return setThreadIdentity(wanted); }, threadIds, FailedCall::TookNothing);
}

void FileSystemUser::leave() { taken_.giveBack({own_.uid, own_.gid}, dropThreadIdentity, threadIds); }

}  // namespace qm::posix
