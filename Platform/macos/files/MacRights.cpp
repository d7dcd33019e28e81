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

#include "Platform/posix/OwnItem.h"
#include "Platform/posix/rights/SystemRights.h"

namespace qm::posix {
namespace {

struct FreeList {
  void operator()(acl_t list) const { ::acl_free(list); }
};
using AccessList = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeList>;

/// With any of these somebody decides what a name in the folder stands for.
constexpr acl_perm_t kWriting[] = {ACL_ADD_FILE,     ACL_ADD_SUBDIRECTORY, ACL_DELETE,
                                   ACL_DELETE_CHILD, ACL_WRITE_SECURITY,   ACL_CHANGE_OWNER};

bool grantsWriting(acl_entry_t entry) {
  acl_tag_t tag = ACL_UNDEFINED_TAG;
  if (::acl_get_tag_type(entry, &tag) != 0) return true;
  if (tag != ACL_EXTENDED_ALLOW) return false;
  acl_permset_t granted = nullptr;
  if (::acl_get_permset(entry, &granted) != 0) return true;
  for (const acl_perm_t right : kWriting) {
    if (::acl_get_perm_np(granted, right) != 0) return true;
  }
  return false;
}

bool grantsWriting(acl_t list) {
  acl_entry_t entry = nullptr;
  for (int which = ACL_FIRST_ENTRY; ::acl_get_entry(list, which, &entry) == 0; which = ACL_NEXT_ENTRY) {
    if (grantsWriting(entry)) return true;
  }
  return false;
}

}  // namespace

/// A volume whose owners are ignored lets everybody be the owner; one that is no local file system of this computer is
/// somebody else's to speak for.
bool isUserSpaceFileSystem(int folder) {
  struct statfs volume {};
  if (::fstatfs(folder, &volume) != 0) return true;
  return (volume.f_flags & MNT_LOCAL) == 0 || (volume.f_flags & MNT_IGNORE_OWNERSHIP) != 0;
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

/// Read by its name: what was looked at is what counts.
std::optional<std::string> readLink(int item, int folder, const std::string& name) {
  std::array<char, MAXPATHLEN> text{};
  const ssize_t length = ::readlinkat(folder, name.c_str(), text.data(), text.size());
  if (length < 0) return std::nullopt;
  if (isStill(item, folder, name)) return std::string(text.data(), static_cast<std::size_t>(length));
  errno = ESTALE;
  return std::nullopt;
}

}  // namespace qm::posix
