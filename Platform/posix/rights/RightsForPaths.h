// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <string>

#include "Platform/Users.h"
#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {

/// The rights with which a root process makes changes at some paths, for the lifetime of this object and for the
/// calling thread. These are root's own if nobody else can redirect the paths, else those of the one user who can, else
/// those of the user at the console. So whoever redirects a path gains nothing. Has no effect in any process that is
/// not root's.
class RightsForPaths {
 public:
  RightsForPaths(const platform::Users& users, std::initializer_list<std::string> paths);

  /// Whether the thread has these rights. If not, nothing may be changed: several users could redirect the paths, and
  /// nobody is at the console.
  bool ok() const { return known_ && acting_.ok(); }

 private:
  bool choose(const platform::Users& users, std::initializer_list<std::string> paths);

  FileSystemIdentity person_;
  bool isForPerson_ = false;
  bool known_ = true;
  FileSystemUser acting_;
};

}  // namespace qm::posix
