// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <string>
#include <utility>

namespace qm::posix {

/// The result of a file operation: 0 or the system's error number, and the item that it concerns if that is not the one
/// that the caller named (an item deep in a tree).
struct FileError {
  enum class Side { Source, Destination, Itself, InTheWay };

  int code = 0;
  std::string item;  ///< "" for the one that the caller named
  /// What the number refers to: the item, the folder that it goes to, or a folder that would be put into itself.
  /// `InTheWay` means that `item` prevents the removal of the folder that the caller named.
  Side side = Side::Source;

  FileError() = default;
  FileError(int number, std::string name = {}, Side which = Side::Source)
      : code(number), item(std::move(name)), side(which) {}

  explicit operator bool() const { return code != 0; }
};

/// The error number of a call that returns -1 on failure, else 0.
inline int errorOf(int answer) { return answer < 0 ? errno : 0; }

/// The error number of a call that returns it, and 0 on success. Some versions return -1 instead, with the number in
/// `errno`.
inline int errorReturned(int answer) { return answer < 0 ? errno : answer; }

}  // namespace qm::posix
