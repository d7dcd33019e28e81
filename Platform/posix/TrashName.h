// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "Platform/posix/ItemName.h"

namespace qm::posix {

/// The names that an item may get in the Trash: its own first, then "name 2.ext", "name 3.ext" … A name that is
/// longer than a limit is shortened before its extension, between two characters if it is UTF-8.
class TrashName {
 public:
  /// `longest` is the limit, in bytes.
  TrashName(std::string_view name, std::size_t longest);

  /// Number 1 is the name without a number.
  std::string numbered(unsigned number) const;

 private:
  std::string base_;
  std::string extension_;  // with its dot
  std::size_t longest_;
};

/// A number from `first` on that is not taken; the smallest of these if the taken ones have no gaps. `isTaken` is
/// called about twice as often as the logarithm of how many are taken in a row.
unsigned freeNumber(unsigned first, const std::function<bool(unsigned)>& isTaken);

/// Moves an item into the folder in one step, under the first of its names that is free, and sets `name` to that.
/// EEXIST if `most` names are taken. Returns 0 or an error number.
int renameToFreeName(ItemName item, int folder, std::string& name, unsigned most = 10000);

}  // namespace qm::posix
