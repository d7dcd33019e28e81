#pragma once

#include <cerrno>
#include <string>
#include <utility>

namespace qm::posix {

/// How a step on files ended: 0 or the system's error number, and the item that it happened at when
/// that is another one than the caller named (an item deep in a tree).
struct FileError {
  enum class Side { Source, Destination, Itself, InTheWay };

  int code = 0;
  std::string item;  ///< "" for the one that the caller named
  /// Which side the number speaks of: the item, the folder that it goes to, a folder that would go
  /// into itself, or what `item` is to the folder that the caller named: in the way of its removal.
  Side side = Side::Source;

  FileError() = default;
  FileError(int number, std::string name = {}, Side which = Side::Source)
      : code(number), item(std::move(name)), side(which) {}

  explicit operator bool() const { return code != 0; }
};

/// The error number of a call that answers -1 on failure, else 0.
inline int errorOf(int answer) { return answer < 0 ? errno : 0; }

}  // namespace qm::posix
