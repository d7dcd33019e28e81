// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/acl.h>
#include <sys/kauth.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>

#include "Platform/macos/files/FileRules.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/OwnItem.h"
#include "Platform/posix/rights/AccessList.h"
#include "Platform/posix/rights/SystemRights.h"
#include "Platform/posix/rights/ThreadIdentity.h"

namespace qm::posix {
namespace {

struct FreeList {
  void operator()(acl_t list) const { ::acl_free(list); }
};
using AccessList = std::unique_ptr<std::remove_pointer_t<acl_t>, FreeList>;

AccessEntry accessEntryOf(acl_entry_t entry) {
  acl_tag_t tag = ACL_UNDEFINED_TAG;
  acl_permset_mask_t rights = 0;
  const bool isKnown = ::acl_get_tag_type(entry, &tag) == 0 && ::acl_get_permset_mask_np(entry, &rights) == 0;
  return {.isKnown = isKnown, .allows = tag == ACL_EXTENDED_ALLOW, .rights = rights};
}

int readEntry(acl_t list, bool isFirst, AccessEntry& entry) {
  acl_entry_t found = nullptr;
  const int error = errorOf(::acl_get_entry(list, isFirst ? ACL_FIRST_ENTRY : ACL_NEXT_ENTRY, &found));
  if (error == 0) entry = accessEntryOf(found);
  return error;
}

std::optional<macos::FolderFacts> factsOf(int folder) {
  struct statfs volume {};
  struct stat found {};
  if (::fstatfs(folder, &volume) != 0 || ::fstat(folder, &found) != 0) return std::nullopt;
  return macos::FolderFacts{.isLocal = (volume.f_flags & MNT_LOCAL) != 0,
                            .ignoresOwners = (volume.f_flags & MNT_IGNORE_OWNERSHIP) != 0,
                            .mountedBy = volume.f_owner,
                            .owner = found.st_uid};
}

}  // namespace

bool isUserSpaceFileSystem(int folder) { return macos::hasUntrustedOwner(factsOf(folder)); }

bool hasListThatGrantsWriting(int folder) {
  const AccessList list(::acl_get_fd_np(folder, ACL_TYPE_EXTENDED));
  if (!list) return grantsWritingWithoutList(errno);
  return anyGrantsWriting([&](bool isFirst, AccessEntry& entry) { return readEntry(list.get(), isFirst, entry); });
}

std::string shownPath(int descriptor) {
  std::array<char, MAXPATHLEN> path{};
  return ::fcntl(descriptor, F_GETPATH, path.data()) == 0 ? std::string(path.data()) : std::string();
}

std::optional<std::string> readLink(int item, int folder, const std::string& name) {
  return readOwnLinkText(item, folder, name);
}

ThreadIds threadIds() { return {.user = ::geteuid(), .group = ::getegid()}; }

// Deprecated since 10.12, but without a successor: no other call gives a single thread the rights of a user.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
bool setThreadIdentity(const ThreadIds& wanted) { return ::pthread_setugid_np(wanted.user, wanted.group) == 0; }
bool dropThreadIdentity() { return ::pthread_setugid_np(KAUTH_UID_NONE, KAUTH_GID_NONE) == 0; }
#pragma clang diagnostic pop

}  // namespace qm::posix
