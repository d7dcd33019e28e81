#pragma once

#include <sys/stat.h>

#include <optional>
#include <set>

namespace qm::posix {

/// The status of what a descriptor stands for. Null on failure, see `errno`.
std::optional<struct stat> statusOf(int fd);
/// The status of what a name in a folder stands for; a link is not followed. Null on failure, see `errno`.
std::optional<struct stat> statusIn(int folder, const char* name);

/// Who besides root decides what a name in a folder stands for.
struct Writers {
  std::set<uid_t> persons;
  /// More than can be told: a folder that a group, an access list or everybody may write in, or a file system
  /// that is a program of somebody's.
  bool anybody = false;

  bool none() const { return persons.empty() && !anybody; }
  /// This one person and nobody else.
  bool only(uid_t person) const { return !anybody && persons.size() == 1 && persons.contains(person); }
  void add(const Writers& others);
};

/// Who can replace the item `entry` of `folder` by another one. A group counts as anybody: who is in it by its
/// primary group, a directory service knows at best. In a sticky folder an item is its owner's to replace; an item
/// of root's there could have been moved in by anybody.
Writers writersOfEntry(int folder, const struct stat& folderStatus, const struct stat& entry);

/// Nobody but root can make, rename or remove anything in the folder.
bool onlyRootWrites(int folder);

/// The same for a folder and all that are below it. Also false when that cannot be found out.
bool onlyRootWritesTree(int folder);

}  // namespace qm::posix
