// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>

#include "Platform/posix/rights/FileSystemUser.h"

/// Systems whose threads can have an identity of their own. `FileSystemUser` takes another user's rights with it there.
namespace qm::posix {

/// The group "admin", which has this number on every Mac.
inline constexpr gid_t kAdministrators = 80;

/// The group of a thread that acts for a user. Such a thread can have only one. An administrator's thread gets `admin`,
/// because that group owns /Applications. New items get the group of their folder in any case.
inline gid_t groupOfThread(const FileSystemIdentity& identity) {
  const bool isAdministrator = std::ranges::find(identity.groups, kAdministrators) != identity.groups.end();
  return isAdministrator ? kAdministrators : identity.gid;
}

inline ThreadIds idsOfThread(const FileSystemIdentity& identity) {
  return {.user = identity.uid, .group = groupOfThread(identity)};
}

/// Whether a thread of the user `own` has to take the identity. Its own is not taken, because on some systems it could
/// not be given up again.
inline bool isAnothers(const FileSystemIdentity* identity, uid_t own) {
  return identity != nullptr && identity->uid != own;
}

/// The ids that count for the calling thread.
ThreadIds threadIds();

/// Gives the calling thread an identity of its own, or ends it. Both return whether they succeeded. The first fails,
/// and changes nothing, if the thread has one already; the second fails if it has none.
bool setThreadIdentity(const ThreadIds& wanted);
bool dropThreadIdentity();

}  // namespace qm::posix
