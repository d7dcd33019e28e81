// SPDX-License-Identifier: MIT

// Copies what an item has besides its contents: extended attributes and access lists.
#include <copyfile.h>
#include <sys/acl.h>

#include "Platform/posix/AttributeErrors.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/SystemFileCalls.h"

namespace qm::posix {
/// On a Mac no attribute grants rights to a program, so it does not matter who owns the copy.
int copyExtendedAttributes(int from, int to, OwnerKept /*ownerKept*/) {
  return copyAllParts([&] { return errorOf(::fcopyfile(from, to, nullptr, COPYFILE_XATTR)); },
                      [&] { return errorOf(::fcopyfile(from, to, nullptr, COPYFILE_ACL)); });
}

int copyExtendedAttributes(int fromFolder, const std::string& from, int to) {
  return copyOfOpened([&] { return openItself(fromFolder, from.c_str()); },
                      [&](int source) { return copyExtendedAttributes(source, to, OwnerKept::No); });
}

/// Replaces the inherited list by an empty one.
void dropInheritedAccess(int item) {
  acl_t const none = ::acl_init(0);
  if (none == nullptr) return;
  static_cast<void>(::acl_set_fd_np(item, none, ACL_TYPE_EXTENDED));
  ::acl_free(none);
}

}  // namespace qm::posix
