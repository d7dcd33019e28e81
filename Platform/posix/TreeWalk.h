// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/FileError.h"
#include "Platform/posix/FolderChain.h"

namespace qm::posix {

/// The callbacks of a walk. Functions return 0 to continue, or the error number that ends it.
class TreeVisitor {
 public:
  /// Returned by `cannotEnter` to try the folder once more.
  static constexpr int kTryAgain = -1;

  virtual ~TreeVisitor() = default;

  /// The walk has entered the folder `name`, the last of `chain`; nothing in it was visited yet.
  virtual int entered(const FolderChain& chain, const std::string& name) = 0;
  /// An item in `folder` that is not a folder, according to the listing.
  virtual int item(int folder, const std::string& name) = 0;
  /// The same for a regular file according to the listing, for visitors that then need no stat call.
  virtual int regularFile(int folder, const std::string& name) { return item(folder, name); }
  /// Everything in `folder` was visited; the walk is back in `parent`.
  virtual int left(int parent, int folder, const std::string& name) = 0;
  /// The folder `name` cannot be opened: it has vanished, has become something else (ENOTDIR, ELOOP) or may not be
  /// read. 0 means that it is skipped.
  virtual int cannotEnter(int parent, const std::string& name, int error) = 0;
};

/// Walks the folder `name` in `parent` and everything below it, by descriptor and without recursion, so that neither
/// depth nor the length of paths is limited. Links are not followed. Every folder is listed once, before its items are
/// visited; some of them may have vanished by then.
FileError walkTree(int parent, const std::string& name, TreeVisitor& visitor);

}  // namespace qm::posix
