// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace qm::posix {

/// All entries that a system call lists. `call(entries, room)` writes at most `room` entries and returns how many it
/// wrote, or -1. With a null pointer it writes nothing and returns how many there are. There may be more by the time of
/// the second call, so the call is repeated with more room until some room is left. Empty on failure.
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
