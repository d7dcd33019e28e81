#pragma once

#include "Platform/linux/rights/FileSystemUser.h"

namespace qm::linux_ {

/// Lets the calling thread, and no other, be somebody else to whoever it connects to, and in the file system.
/// Only for a process that runs as root.
class ThreadUser {
 public:
  /// Becomes `identity`; none (null) leaves everything as it is.
  explicit ThreadUser(const FileSystemIdentity* identity);
  ThreadUser(const ThreadUser&) = delete;
  ThreadUser& operator=(const ThreadUser&) = delete;
  ~ThreadUser();

  /// The thread is who was wanted.
  bool ok() const { return ok_; }

 private:
  FileSystemUser files_;
  bool entered_ = false;
  bool ok_ = true;
};

}  // namespace qm::linux_
