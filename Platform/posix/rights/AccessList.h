// SPDX-License-Identifier: MIT
#pragma once

#include <cerrno>
#include <cstdint>

/// What an access list of a folder grants, on a system whose modes do not show such lists.
namespace qm::posix {

/// One entry of an access list.
struct AccessEntry {
  bool isKnown = false;  ///< the entry could be read
  bool allows = false;
  std::uint64_t rights = 0;
};

// The rights of access lists, with the system's numbers.
inline constexpr std::uint64_t kAddFile = 1U << 2U;
inline constexpr std::uint64_t kDelete = 1U << 4U;
inline constexpr std::uint64_t kAddFolder = 1U << 5U;
inline constexpr std::uint64_t kDeleteChild = 1U << 6U;
inline constexpr std::uint64_t kWriteSecurity = 1U << 12U;
inline constexpr std::uint64_t kChangeOwner = 1U << 13U;

/// With any of these rights a user can change what a name in the folder refers to. An entry that could not be read
/// counts as one that grants them.
inline bool grantsWriting(const AccessEntry& entry) {
  constexpr std::uint64_t kWriting = kAddFile | kDelete | kAddFolder | kDeleteChild | kWriteSecurity | kChangeOwner;
  return !entry.isKnown || (entry.allows && (entry.rights & kWriting) != 0);
}

/// Whether any entry of a list grants writing. `read(isFirst, entry)` reads the first or the next entry. It returns 0
/// or an error number, which is EINVAL after the last entry. A list that cannot be read to its end counts as one that
/// grants it.
template <class Read>
bool anyGrantsWriting(Read read) {
  AccessEntry entry;
  int error = read(true, entry);
  while (error == 0 && !grantsWriting(entry)) error = read(false, entry);
  return error != EINVAL;
}

/// The same for a folder whose list could not be obtained. Only these errors mean that it has none.
inline bool grantsWritingWithoutList(int error) { return error != ENOENT && error != EOPNOTSUPP && error != ENOTSUP; }

}  // namespace qm::posix
