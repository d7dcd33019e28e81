#pragma once

#include <sys/types.h>

#include <vector>

namespace qm::posix {

/// Whose rights count in the file system.
struct FileSystemIdentity {
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;
};

/// Lets the calling thread, and no other, work in the file system with somebody else's rights: what it
/// makes belongs to him, and his links lead it nowhere that he could not go himself. Only for a process
/// that runs as root.
class FileSystemUser {
 public:
  /// Takes the rights of `identity`; none to take (null) leaves everything as it is.
  explicit FileSystemUser(const FileSystemIdentity* identity);
  FileSystemUser(const FileSystemUser&) = delete;
  FileSystemUser& operator=(const FileSystemUser&) = delete;
  ~FileSystemUser() { leave(); }

  /// The thread has the wanted rights and no others.
  bool ok() const { return ok_; }

  /// Whose rights it takes; null where it takes none.
  const FileSystemIdentity* identity() const { return identity_; }

  /// Goes back to the process's own rights, and takes the other's again.
  void leave();
  void enter();

 private:
  const FileSystemIdentity* identity_;
  FileSystemIdentity own_;
  bool entered_ = false;
  bool ok_ = true;
};

}  // namespace qm::posix
