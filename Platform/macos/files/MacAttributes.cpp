// SPDX-License-Identifier: MIT

// What goes along with a copy beside its contents: extended attributes and access lists.
#include <copyfile.h>
#include <sys/acl.h>

#include <cerrno>

#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {
namespace {

/// What the other file system does not know, and what the system keeps from this process, stays behind.
bool maySkipAfter(int error) { return error == ENOTSUP || error == EPERM || error == EACCES || error == EINVAL; }

/// The other file system has no room for it. The contents are written by then; a disk that is full shows at the next
/// item.
bool hasNoRoomAfter(int error) { return error == ENOSPC || error == E2BIG; }

}  // namespace

int copyExtendedAttributes(int from, int to, OwnerKept /*ownerKept*/) {
  const int error = errorOf(::fcopyfile(from, to, nullptr, COPYFILE_XATTR | COPYFILE_ACL));
  return maySkipAfter(error) || hasNoRoomAfter(error) ? 0 : error;
}

int copyExtendedAttributes(int fromFolder, const std::string& from, int to) {
  const UniqueFd source(openItself(fromFolder, from.c_str()));
  if (!source) return errno == ENOENT || maySkipAfter(errno) ? 0 : errno;
  return copyExtendedAttributes(source.get(), to, OwnerKept::No);
}

/// An empty list takes the place of the inherited one.
void dropInheritedAccess(int item) {
  acl_t const none = ::acl_init(0);
  if (none == nullptr) return;
  static_cast<void>(::acl_set_fd_np(item, none, ACL_TYPE_EXTENDED));
  ::acl_free(none);
}

}  // namespace qm::posix
