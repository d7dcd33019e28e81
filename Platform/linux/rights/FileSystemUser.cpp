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
// right. These two calls do not report a failure.
bool become(const FileSystemIdentity& identity) {
  const bool groups = setThreadGroups(identity.groups);
  ::setfsgid(identity.gid);
  ::setfsuid(identity.uid);
  return groups;
}

ThreadIds threadIds() {
  return {.user = static_cast<uid_t>(::setfsuid(kNobody)), .group = static_cast<gid_t>(::setfsgid(kNobody))};
}

}  // namespace

FileSystemUser::FileSystemUser(const FileSystemIdentity* identity) : identity_(identity) {
  if (identity_ == nullptr) return;
  own_ = {::geteuid(), ::getegid(), threadGroups()};
  enter();
}

void FileSystemUser::enter() {
  if (identity_ == nullptr) return;
  taken_.take(
      {identity_->uid, identity_->gid}, [this] { return become(*identity_); }, threadIds);
}

void FileSystemUser::leave() {
  taken_.giveBack(
      {own_.uid, own_.gid}, [this] { return become(own_); }, threadIds);
}

}  // namespace qm::posix
