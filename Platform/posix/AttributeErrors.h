// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>

namespace qm::posix {

/// Attributes that this process may not read or write, or that the other file system does not support, are not copied.
inline bool maySkipAfter(int error) {
  constexpr int kErrors[] = {ENOTSUP, EOPNOTSUPP, ENOSYS, EPERM, EACCES, EINVAL, ENODATA};
  for (const int each : kErrors) {
    if (error == each) return true;
  }
  return false;
}

/// The other file system has no room for the attribute. The contents are already written; if the disk is full, the next
/// item will show that.
inline bool hasNoRoomAfter(int error) { return error == ENOSPC || error == E2BIG || error == ERANGE; }

/// The error number of an attempt to copy an attribute; 0 where the copy does without.
inline int unlessOptional(int error) { return maySkipAfter(error) || hasNoRoomAfter(error) ? 0 : error; }

}  // namespace qm::posix
