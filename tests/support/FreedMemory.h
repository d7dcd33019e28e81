#pragma once

#include <cstddef>
#include <string_view>

namespace qm::testing {

/// Looks at all memory that this process gives back while it lives, for a text that should have been wiped by then.
/// Its program's allocation is replaced: link FreedMemory.cpp. One at a time.
class FreedMemory {
 public:
  /// The text is referred to, and stands in memory that is not given back.
  explicit FreedMemory(std::string_view text);
  ~FreedMemory();
  FreedMemory(const FreedMemory&) = delete;
  FreedMemory& operator=(const FreedMemory&) = delete;

  /// How many blocks with the text in them were given back so far.
  static std::size_t blocksWithText();
};

}  // namespace qm::testing
