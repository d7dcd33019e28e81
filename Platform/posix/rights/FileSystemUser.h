// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <vector>

namespace qm::posix {

/// A user's identity for permission checks in the file system.
struct FileSystemIdentity {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;
};

/// Gives the calling thread, and no other, somebody else's rights in the file system. What it creates belongs to that
/// user, and that user's links lead it nowhere that the user could not go. Only for a process that runs as root.
///
/// On a Mac getuid(2) and geteuid(2) answer with that user meanwhile, and `Users::realUserId` with them; on Linux both
/// stay root. On a Mac a thread cannot take somebody's rights while it has another's, either.
class FileSystemUser {
 public:
  /// Takes the rights of `identity`; with null it changes nothing.
  explicit FileSystemUser(const FileSystemIdentity* identity);
  FileSystemUser(const FileSystemUser&) = delete;
  FileSystemUser& operator=(const FileSystemUser&) = delete;
  ~FileSystemUser() { leave(); }

  /// Whether the thread has the requested rights and no others.
  bool ok() const { return ok_; }

  /// The identity whose rights it takes; null if it takes none.
  const FileSystemIdentity* identity() const { return identity_; }

  /// Returns to the process's own rights, and takes the other's again.
  void leave();
  void enter();

 private:
  const FileSystemIdentity* identity_;
  FileSystemIdentity own_;
  bool entered_ = false;
  bool ok_ = true;
};

}  // namespace qm::posix
