#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The copy of an item on its way to a place in a folder, which outlives it. It grows under a hidden name beside its
/// place. Whichever name it has, it is removed at the end unless it is kept; never anything that took its name.
class NewCopy {
 public:
  explicit NewCopy(const Place& destination) : destination_(destination), name_(temporaryName()) {}
  NewCopy(const NewCopy&) = delete;
  NewCopy& operator=(const NewCopy&) = delete;
  ~NewCopy();

  FileError make(const Place& source, CopyObserver& observer);
  /// Gives the complete copy its name, without replacing anything, and its flags.
  FileError publish();
  /// What has the copy's name is the copy.
  bool isInPlace() const;
  void keep() { made_.reset(); }

 private:
  const Place& destination_;
  std::string name_;
  struct stat attributes_ {};  ///< of the source
  UniqueFd made_;
};

/// Copies an item, a tree with everything in it, to a place in a folder where it did not exist before.
/// The copy grows under a hidden name beside its place and is then renamed without replacing anything,
/// so that nobody ever sees a part of it under its name; after a failure, or when the observer has ended
/// it, nothing of it is left. (Of a process that is killed meanwhile the hidden part stays.) What vanishes
/// from a tree before its turn is not in the copy.
FileError copyTree(const Place& source, const Place& destination, CopyObserver& observer);

/// `folder` is the folder `name` in `parent` or is anywhere below it.
bool isWithin(int folder, int parent, const std::string& name);

}  // namespace qm::posix
