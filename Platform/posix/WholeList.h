// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace qm::posix {

/// All entries that a system call lists. `call(entries, room)` writes at most `room` entries and returns how many there
/// are in them, or -1; without entries it returns how many there would be. There may be more by the time they are
/// written, so it is called until some room is left. Empty on failure.
template <class Entry, class Call>
std::vector<Entry> wholeList(Call call) {
  constexpr int kSpare = 16;
  std::vector<Entry> entries;
  for (int count = call(nullptr, 0); count >= 0;) {
    const int room = count + kSpare;
    entries.resize(static_cast<std::size_t>(room));
    count = call(entries.data(), room);
    if (count < 0 || count >= room) continue;
    entries.resize(static_cast<std::size_t>(count));
    return entries;
  }
  return {};
}

}  // namespace qm::posix
