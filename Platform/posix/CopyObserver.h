#pragma once

#include <cstdint>
#include <string_view>

namespace qm::posix {

/// Watches a copy while it is made and may end it. Called on the thread that copies. This one looks on
/// and does nothing. Functions of type int answer 0 to go on or the error number that the copy ends with.
class CopyObserver {
 public:
  virtual ~CopyObserver() = default;

  /// The item `name` comes next. `folder` is the path of the one that it is in, from the item that was asked
  /// for ("/a/b"); both are "" for that item itself.
  virtual int itemBegins(std::string_view folder, std::string_view name);
  /// So many more bytes of the contents of a file are in the copy, holes included.
  virtual int bytesCopied(std::uint64_t count);
  /// An item is complete but for what a folder holds.
  virtual void itemCopied();
};

inline int CopyObserver::itemBegins(std::string_view /*folder*/, std::string_view /*name*/) { return 0; }
inline int CopyObserver::bytesCopied(std::uint64_t /*count*/) { return 0; }
inline void CopyObserver::itemCopied() {}

}  // namespace qm::posix
