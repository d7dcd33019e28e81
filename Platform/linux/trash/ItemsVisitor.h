// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/posix/TreeWalk.h"

namespace qm::linux_ {

/// Visits everything in an item, by descriptor, within one mount. Functions return 0 to go on or the error number that
/// ends the walk. Items that disappear meanwhile are skipped.
class ItemsVisitor : public posix::TreeVisitor {
 public:
  int entered(const posix::FolderChain& chain, const std::string& name) override;
  int item(int folder, const std::string& name) override;
  int left(int parent, int folder, const std::string& name) override;
  int cannotEnter(int parent, const std::string& name, int error) override;

  /// Anything but a folder, by an O_PATH descriptor.
  virtual int file(int item, const struct stat& status) = 0;
  /// A folder, before its contents.
  virtual int folderEntered(int folder);
  /// The same folder, after its contents.
  virtual int folderLeft(int folder);

 private:
  bool isBegun_ = false;
  posix::FolderIdentity mount_;
};

}  // namespace qm::linux_
