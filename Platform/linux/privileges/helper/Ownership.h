#pragma once

#include <sys/stat.h>

#include <optional>
#include <set>

namespace qm::linux_ {

/// What a descriptor stands for. Nil on failure, see `errno`.
std::optional<struct stat> statusOf(int fd);
/// What a name in a folder stands for, a link for itself. Nil on failure, see `errno`.
std::optional<struct stat> statusIn(int folder, const char* name);

bool isSameItem(const struct stat& one, const struct stat& other);

/// Who besides root decides what a name in a folder stands for.
struct Changers {
  std::set<uid_t> persons;
  /// More than can be told: a folder that a group or everybody may write in, or a file system that is a
  /// program of somebody's.
  bool anybody = false;

  bool none() const { return persons.empty() && !anybody; }
  /// This one person and nobody else.
  bool only(uid_t person) const { return !anybody && persons.size() == 1 && persons.contains(person); }
  void add(const Changers& others);
};

/// Who can make `entry` of `folder` another item. Access lists count: what they grant shows in the mode.
Changers changersOfEntry(int folder, const struct stat& folderStatus, const struct stat& entry);

/// Nobody but root can make, rename or remove anything in the folder.
bool onlyRootChanges(int folder);

/// The same for a folder and all that are below it. Also false when that cannot be found out.
bool onlyRootChangesTree(int folder);

}  // namespace qm::linux_
