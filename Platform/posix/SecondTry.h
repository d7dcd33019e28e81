// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cerrno>

#include "Platform/posix/FileError.h"

/// What is done if a system's call fails, and when another one is tried.
namespace qm::posix {

/// `item` opens an item of any kind. If it may not be read, `folder` opens it only so that items in it can be named.
/// This takes fewer permissions, but succeeds for a folder only. Both return a descriptor, or -1 with `errno`. So does
/// this function; the error is that of the first attempt.
template <class OpenItem, class OpenFolder>
int openItemOrFolder(OpenItem item, OpenFolder folder) {
  const int opened = item();
  if (opened >= 0 || errno != EACCES) return opened;
  const int searched = folder();
  if (searched < 0) errno = EACCES;
  return searched;
}

/// `whole` also flushes the disk's own cache. If the file system does not support that, `plain` is called. Both return
/// 0 or an error number. Any other failure of `whole` is reported, because then the changes may not be on the disk.
template <class Whole, class Plain>
int flushAsFarAsSupported(Whole whole, Plain plain) {
  const int error = whole();
  return error == ENOTSUP || error == EINVAL || error == ENOTTY ? plain() : error;
}

/// Makes the calls in their order until one fails, and returns its number; 0 if none fails.
template <class... Calls>
int firstFailure(Calls... calls) {
  int error = 0;
  static_cast<void>((((error = calls()) == 0) && ...));
  return error;
}

/// The system's call that creates a FIFO relative to a folder; null on a system without it.
using MakeFifoAt = int (*)(int folder, const char* name, mode_t mode);

/// Creates a FIFO. For systems that have `mkfifoat`, but no `mknodat`. Returns 0 or an error number; ENOTSUP for an
/// item of another kind and without such a call.
inline int makeFifoOnly(MakeFifoAt call, int folder, const char* name, mode_t mode) {
  constexpr mode_t kPermissions = 07777;
  if (!S_ISFIFO(mode) || call == nullptr) return ENOTSUP;
  return errorOf(call(folder, name, mode & kPermissions));
}

}  // namespace qm::posix
