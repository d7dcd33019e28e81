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
///
/// If others can redirect the paths and root itself is the user meant, nobody's rights would do, and the thread keeps
/// root's.
class RightsForPaths {
 public:
  RightsForPaths(const platform::Users& users, std::initializer_list<std::string> paths);

  /// Whether the thread has these rights. If not, nothing may be changed by path: several users could redirect the
  /// paths, and nobody is at the console or root is.
  bool ok() const { return whose_ != Whose::Nobodys && whose_ != Whose::RootsInPlaces && acting_.ok(); }

  /// Whether root is meant, and others can redirect the paths. Then changes may be made at places that `pinPath` has
  /// found, and nowhere else.
  bool arePlacesOnly() const { return whose_ == Whose::RootsInPlaces; }

 private:
  enum class Whose { TheProcesses, APersons, RootsInPlaces, Nobodys };
  Whose choose(const platform::Users& users, std::initializer_list<std::string> paths);

  FileSystemIdentity person_;
  Whose whose_;
  FileSystemUser acting_;
};

}  // namespace qm::posix
