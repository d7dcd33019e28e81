// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace qm::posix {

/// The groups of a user. `list` is getgrouplist(3), which returns -1 if the list is too short; then it is called again
/// with a longer one. If a list of 65536 groups is too short as well, only the user's own group is returned. `Group` is
/// the type of a group's number in that call, which differs between systems.
template <class Group>
std::vector<gid_t> groupsOf(const std::string& user, gid_t own, int (*list)(const char*, Group, Group*, int*)) {
  constexpr std::size_t kUsual = 64;
  constexpr std::size_t kMost = std::size_t{64} * 1024;
  for (std::vector<Group> groups(kUsual); groups.size() <= kMost; groups.resize(groups.size() * 2)) {
    auto count = static_cast<int>(groups.size());
    if (list(user.c_str(), static_cast<Group>(own), groups.data(), &count) < 0) continue;
    return {groups.begin(), groups.begin() + count};
  }
  return {own};
}

}  // namespace qm::posix
