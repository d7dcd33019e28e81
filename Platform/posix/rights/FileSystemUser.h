// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <vector>

#include "Platform/posix/rights/TakenRights.h"

namespace qm::posix {

/// A user's identity for permission checks in the file system.
struct FileSystemIdentity {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;
};

/// Gives the calling thread, and no other thread, the rights of another user in the file system. New items then belong
/// to that user, and a link of that user leads the thread only to places that the user can reach anyway. Only for a
/// process run by root.
///
/// Meanwhile getuid(2), geteuid(2) and `Users::realUserId` return that user on a Mac, and root on Linux. On a Mac a
/// thread that has one user's rights must give them up before it can take another user's. If it does not, the second
/// object is not `ok`, and the thread keeps the rights of the first.
class FileSystemUser {
 public:
  /// Takes the rights of `identity`; with null it changes nothing.
  explicit FileSystemUser(const FileSystemIdentity* identity);
  FileSystemUser(const FileSystemUser&) = delete;
  FileSystemUser& operator=(const FileSystemUser&) = delete;
  ~FileSystemUser() { leave(); }

  /// Whether the thread has the requested rights and no others. Also false if `leave` could not give them up.
  bool ok() const { return taken_.ok(); }

  /// The identity whose rights it takes; null if it takes none.
  const FileSystemIdentity* identity() const { return identity_; }

  /// `leave` returns to the process's own rights, and `enter` takes the other user's rights again.
  void leave();
  void enter();

 private:
  const FileSystemIdentity* identity_;
  FileSystemIdentity own_;
  TakenRights taken_;
};

}  // namespace qm::posix
