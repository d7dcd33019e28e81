// SPDX-License-Identifier: MIT
#include "Platform/posix/rights/FileSystemUser.h"

#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

namespace qm::posix {
namespace {

// An invalid id: passing it changes nothing and returns the current one.
constexpr unsigned kNobody = ~0U;

// The C library's setgroups changes every thread of the process; the system call changes only this one.
bool setThreadGroups(const std::vector<gid_t>& groups) {
  return ::syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}

std::vector<gid_t> threadGroups() {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
  const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(0, count)));
  return groups;
}

// The user id is changed last: leaving root's removes the right to change the groups, and returning to it restores that
// right.
bool become(const FileSystemIdentity& identity) {
  const bool groups = setThreadGroups(identity.groups);
  ::setfsgid(identity.gid);
  ::setfsuid(identity.uid);
  return groups && static_cast<gid_t>(::setfsgid(kNobody)) == identity.gid &&
         static_cast<uid_t>(::setfsuid(kNobody)) == identity.uid;
}

}  // namespace

FileSystemUser::FileSystemUser(const FileSystemIdentity* identity) : identity_(identity) {
  if (identity_ == nullptr) return;
  own_ = {::geteuid(), ::getegid(), threadGroups()};
  enter();
}

void FileSystemUser::enter() {
  if (identity_ == nullptr || entered_) return;
  entered_ = true;
  ok_ = become(*identity_);
}

// A thread that stayed another user could neither finish nor undo what it has begun, so this is tried more than once.
void FileSystemUser::leave() {
  constexpr int kTries = 3;
  if (!entered_) return;
  entered_ = false;
  for (int time = 0; time < kTries && !become(own_);) ++time;
}

}  // namespace qm::posix
