// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>

#include "Platform/macos/files/FolderRules.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

struct FreeList {
  void operator()(acl_t list) const { ::acl_free(list); }
};
using AccessList = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeList>;

static_assert(macos::kAddFile == ACL_ADD_FILE && macos::kAddFolder == ACL_ADD_SUBDIRECTORY);
static_assert(macos::kDelete == ACL_DELETE && macos::kDeleteChild == ACL_DELETE_CHILD);
static_assert(macos::kWriteSecurity == ACL_WRITE_SECURITY && macos::kChangeOwner == ACL_CHANGE_OWNER);

macos::AccessEntry told(acl_entry_t entry) {
  acl_tag_t tag = ACL_UNDEFINED_TAG;
  acl_permset_mask_t rights = 0;
  const bool isKnown = ::acl_get_tag_type(entry, &tag) == 0 && ::acl_get_permset_mask_np(entry, &rights) == 0;
  return {.isKnown = isKnown, .allows = tag == ACL_EXTENDED_ALLOW, .rights = rights};
}

/// A list that cannot be read to its end counts as one that grants writing. At its end the call fails with EINVAL.
bool grantsWriting(acl_t list) {
  acl_entry_t entry = nullptr;
  for (int which = ACL_FIRST_ENTRY; ::acl_get_entry(list, which, &entry) == 0; which = ACL_NEXT_ENTRY) {
    if (macos::grantsWriting(told(entry))) return true;
  }
  return errno != EINVAL;
}

}  // namespace

bool isUserSpaceFileSystem(int folder) {
  struct statfs volume {};
  struct stat found {};
  if (::fstatfs(folder, &volume) != 0 || ::fstat(folder, &found) != 0) return true;
  return macos::isSomebodysWord({.isLocal = (volume.f_flags & MNT_LOCAL) != 0,
                                 .ignoresOwners = (volume.f_flags & MNT_IGNORE_OWNERSHIP) != 0,
                                 .mountedBy = volume.f_owner,
                                 .owner = found.st_uid});
}

bool hasListThatGrantsWriting(int folder) {
  const AccessList list(::acl_get_fd_np(folder, ACL_TYPE_EXTENDED));
  if (!list) return errno != ENOENT && errno != EOPNOTSUPP && errno != ENOTSUP;
  return grantsWriting(list.get());
}

std::string shownPath(int descriptor) {
  std::array<char, MAXPATHLEN> path{};
  return ::fcntl(descriptor, F_GETPATH, path.data()) == 0 ? std::string(path.data()) : std::string();
}

/// The link is read by its name. The text counts only if the name still refers to the item that was opened.
std::optional<std::string> readLink(int item, int folder, const std::string& name) {
  std::array<char, MAXPATHLEN> text{};
  const ssize_t length = ::readlinkat(folder, name.c_str(), text.data(), text.size());
  if (length < 0) return std::nullopt;
  if (isStill(item, folder, name)) return std::string(text.data(), static_cast<std::size_t>(length));
  errno = ESTALE;
  return std::nullopt;
}

}  // namespace qm::posix
