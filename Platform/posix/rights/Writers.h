// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <optional>
#include <set>

namespace qm::posix {

/// The status of a descriptor's item. Null on failure, see `errno`.
std::optional<struct stat> statusOf(int fd);
/// The status of a name in a folder; a link is not followed. Null on failure, see `errno`.
std::optional<struct stat> statusIn(int folder, const char* name);

/// The users besides root who can change what a name in a folder refers to.
struct Writers {
  std::set<uid_t> persons;
  /// Others who cannot be listed: a group, an access list or everybody may write to a folder, or a file system is a
  /// user's program.
  bool anybody = false;

  bool none() const { return persons.empty() && !anybody; }
  /// This one user and nobody else.
  bool only(uid_t person) const { return !anybody && persons.size() == 1 && persons.contains(person); }
  void add(const Writers& others);
};

/// Who can replace the item `entry` of `folder` by another one. A group counts as anybody, because its members cannot
/// all be listed: only a directory service may know whose primary group it is. In a sticky folder an item can be
/// replaced by its owner; a root-owned link there could have been moved in by anybody.
Writers writersOfEntry(int folder, const struct stat& folderStatus, const struct stat& entry);

/// Whether nobody but root can create, rename or remove anything in the folder.
bool onlyRootWrites(int folder);

/// The same for a folder and all below it. Also false if that cannot be determined.
bool onlyRootWritesTree(int folder);

}  // namespace qm::posix
