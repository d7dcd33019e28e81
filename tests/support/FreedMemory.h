// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

namespace qm::testing {

/// Searches all memory that this process frees while this object lives for a text that should have been wiped by then.
/// It replaces the program's allocation: link FreedMemory.cpp. One at a time.
class FreedMemory {
 public:
  /// The text is referred to, and must be in memory that is not freed.
  explicit FreedMemory(std::string_view text);
  ~FreedMemory();
  FreedMemory(const FreedMemory&) = delete;
  FreedMemory& operator=(const FreedMemory&) = delete;

  /// How many blocks that contained the text were freed so far.
  static std::size_t blocksWithText();
};

}  // namespace qm::testing
