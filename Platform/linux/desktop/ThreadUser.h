// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/linux/rights/FileSystemUser.h"

namespace qm::linux_ {

/// Makes the calling thread, and no other, act as somebody else towards peers it connects to, and in the file system.
/// Only for a process that runs as root.
class ThreadUser {
 public:
  /// Becomes `identity`; with null it changes nothing.
  explicit ThreadUser(const FileSystemIdentity* identity);
  ThreadUser(const ThreadUser&) = delete;
  ThreadUser& operator=(const ThreadUser&) = delete;
  ~ThreadUser();

  /// Whether the thread has the requested identity.
  bool ok() const { return ok_; }

 private:
  FileSystemUser files_;
  bool entered_ = false;
  bool ok_ = true;
};

}  // namespace qm::linux_
