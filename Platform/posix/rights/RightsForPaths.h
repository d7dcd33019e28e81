#pragma once

#include <initializer_list>
#include <string>

#include "Platform/Users.h"
#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {

/// The rights with which a process of root's changes something at some paths, for as long as this lives and for the
/// calling thread: root's own where nobody else can lead the way elsewhere, else those of the one person who can, else
/// those of the person at the console. Whoever bends a path gets no farther than he could by himself. Changes nothing
/// in any other process.
class RightsForPaths {
 public:
  RightsForPaths(const platform::Users& users, std::initializer_list<std::string> paths);

  /// The thread has these rights. Otherwise nothing may be changed: several could lead the way, and nobody is there.
  bool ok() const { return known_ && acting_.ok(); }

 private:
  bool choose(const platform::Users& users, std::initializer_list<std::string> paths);

  FileSystemIdentity person_;
  bool isForPerson_ = false;
  bool known_ = true;
  FileSystemUser acting_;
};

}  // namespace qm::posix
