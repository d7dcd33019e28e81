// SPDX-License-Identifier: MIT

// The identity of a thread as a Mac has it, over this system's ids for the file system: one call takes it as a whole,
// another ends it, and the thread has a single group meanwhile.
#include <sys/fsuid.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "Platform/posix/rights/ThreadIdentity.h"

namespace qm::posix {
namespace {

thread_local bool hasIdentity = false;
thread_local std::vector<gid_t> groupsBefore;

// The C library's setgroups changes every thread of the process; the system call changes only this one.
bool setOwnGroups(const std::vector<gid_t>& groups) {
  return ::syscall(SYS_setgroups, groups.size(), groups.data()) == 0;
}

std::vector<gid_t> ownGroups() {
  std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, ::getgroups(0, nullptr))));
  const int count = ::getgroups(static_cast<int>(groups.size()), groups.data());
  groups.resize(static_cast<std::size_t>(std::max(0, count)));
  return groups;
}

}  // namespace

ThreadIds threadIds() {
  constexpr unsigned kNoId = ~0U;  // changes nothing and returns the present one
  return {.user = static_cast<uid_t>(::setfsuid(kNoId)), .group = static_cast<gid_t>(::setfsgid(kNoId))};
}

bool setThreadIdentity(const ThreadIds& wanted) {
  if (hasIdentity) return false;
  groupsBefore = ownGroups();
  hasIdentity = setOwnGroups({wanted.group});
  if (!hasIdentity) return false;
  ::setfsgid(wanted.group);
  ::setfsuid(wanted.user);
  return true;
}

bool dropThreadIdentity() {
  if (!hasIdentity) return false;
  hasIdentity = false;
  ::setfsuid(::geteuid());
  ::setfsgid(::getegid());
  return setOwnGroups(groupsBefore);
}

}  // namespace qm::posix
