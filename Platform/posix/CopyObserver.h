// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

namespace qm::posix {

/// Watches a copy in progress and may end it. Called on the thread that copies. The default implementation does
/// nothing. Functions of type int return 0 to continue, or the error number that the copy ends with.
class CopyObserver {
 public:
  virtual ~CopyObserver() = default;

  /// The item `name` is copied next. `folder` is the path of its parent, relative to the item that the copy was
  /// requested for ("/a/b"). Both are "" for that item itself.
  virtual int itemBegins(std::string_view folder, std::string_view name);
  /// This many more bytes of a file's contents are in the copy, holes included.
  virtual int bytesCopied(std::uint64_t count);
  /// Called when an item has been copied; for a folder, before its contents.
  virtual void itemCopied();
};

inline int CopyObserver::itemBegins(std::string_view /*folder*/, std::string_view /*name*/) { return 0; }
inline int CopyObserver::bytesCopied(std::uint64_t /*count*/) { return 0; }
inline void CopyObserver::itemCopied() {}

}  // namespace qm::posix
