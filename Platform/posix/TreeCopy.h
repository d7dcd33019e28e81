// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/posix/CopyObserver.h"
#include "Platform/posix/FileError.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/TemporaryName.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// A copy in progress. It is built under a hidden name beside `destination`, which must outlive this object. The
/// destructor removes the copy, under whichever name it has, unless `keep` was called. It never removes an item that
/// took the name of the copy.
class NewCopy {
 public:
  explicit NewCopy(const Place& destination) : destination_(destination), name_(temporaryName()) {}
  NewCopy(const NewCopy&) = delete;
  NewCopy& operator=(const NewCopy&) = delete;
  ~NewCopy();

  FileError make(const Place& source, CopyObserver& observer);
  /// Gives the complete copy its name, without replacing anything, and then its flags.
  FileError publish();
  /// Whether the copy's name still refers to the copy.
  bool isInPlace() const;
  void keep() { made_.reset(); }

 private:
  const Place& destination_;
  std::string name_;
  struct stat attributes_ {};  ///< of the source
  UniqueFd made_;
};

/// Copies an item (a folder with everything in it) to a name that is free in the destination folder. The copy is built
/// under a hidden name beside that location and then renamed without replacing anything, so that nobody sees an
/// incomplete copy under its final name. After a failure, or if the observer ends the copy, nothing of it is left. (If
/// the process is killed, the hidden part stays.) Items that vanish from a tree before they are reached are not copied.
FileError copyTree(const Place& source, const Place& destination, CopyObserver& observer);

/// Whether `folder` is the folder `name` in `parent`, or anywhere below it.
bool isWithin(int folder, int parent, const std::string& name);

}  // namespace qm::posix
