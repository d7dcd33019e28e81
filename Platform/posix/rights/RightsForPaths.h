// SPDX-License-Identifier: MIT
#pragma once

#include <initializer_list>
#include <string>

#include "Platform/Users.h"
#include "Platform/posix/rights/FileSystemUser.h"

namespace qm::posix {

/// The rights with which a root process makes changes at some paths, for the lifetime of this object and for the
/// calling thread. If nobody else can redirect the paths, these are root's own. If one user can, they are that user's.
/// If several users can, they are those of the user at the console. So nobody gains anything by redirecting a path. Has
/// no effect in a process that is not run by root.
///
/// If several users can and root itself is the user at the console, there is no user whose rights could be used. Then
/// the thread keeps root's, and changes are limited: see `arePlacesOnly`.
class RightsForPaths {
 public:
  RightsForPaths(const platform::Users& users, std::initializer_list<std::string> paths);

  /// Whether paths may be changed with these rights. False if the thread could not take them, and if several users
  /// could redirect the paths while nobody or root itself is at the console (see `arePlacesOnly`).
  bool mayUsePaths() const { return whose_ != Whose::Nobodys && whose_ != Whose::RootsInPlaces && acting_.ok(); }

  /// Whether several users can redirect the paths and root itself is at the console. Then changes may be made only at
  /// places that `pinPath` has found.
  bool arePlacesOnly() const { return whose_ == Whose::RootsInPlaces; }

  /// Whether changes may be made at places that `pinPath` has found.
  bool mayUsePlaces() const { return mayUsePaths() || arePlacesOnly(); }

 private:
  enum class Whose { TheProcesses, APersons, RootsInPlaces, Nobodys };
  Whose choose(const platform::Users& users, std::initializer_list<std::string> paths);

  FileSystemIdentity person_;
  Whose whose_;
  FileSystemUser acting_;
};

}  // namespace qm::posix
