// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// Whether an attribute is left out of a copy after this error: this process may not read or write it, or the other
/// file system does not support it.
inline bool maySkipAfter(int error) {
  constexpr int kErrors[] = {ENOTSUP, EOPNOTSUPP, ENOSYS, EPERM, EACCES, EINVAL, ENODATA};
  for (const int each : kErrors) {
    if (error == each) return true;
  }
  return false;
}

/// Whether the error says that the other file system has no room for the attribute. It is left out then, because the
/// contents are already written. If the disk is full, copying the next item fails.
inline bool hasNoRoomAfter(int error) { return error == ENOSPC || error == E2BIG || error == ERANGE; }

/// The error number of an attempt to copy an attribute; 0 if the attribute is left out.
inline int unlessOptional(int error) { return maySkipAfter(error) || hasNoRoomAfter(error) ? 0 : error; }

/// The same for an attempt that could not open the source. A source that has vanished has nothing to copy.
inline int unlessGone(int error) { return error == ENOENT ? 0 : unlessOptional(error); }

/// Opens a source and copies its attributes. `open` returns a descriptor, or -1 with `errno`. `copy` gets the
/// descriptor and returns 0 or an error number.
template <class Open, class Copy>
int copyOfOpened(Open open, Copy copy) {
  const UniqueFd source(open());
  return source ? copy(source.get()) : unlessGone(errno);
}

/// Copies the parts of an item's attributes one after the other, all of them even if one is refused. Each part returns
/// 0 or an error number. Returns the first error that is not optional.
template <class... Copy>
int copyAllParts(Copy... copy) {
  int first = 0;
  const auto add = [&](int error) { first = first != 0 ? first : unlessOptional(error); };
  (add(copy()), ...);
  return first;
}

}  // namespace qm::posix
