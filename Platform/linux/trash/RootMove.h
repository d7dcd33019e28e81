// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/FileError.h"

namespace qm::linux_ {

/// Moves an item to a user's Trash with root's rights and hands it over.
///
/// At every moment the item is whole at its place or whole in the Trash with its ".trashinfo". On one volume it is
/// renamed in one step. Across volumes a copy is made where nobody sees it, flushed to the disk, handed over and put
/// into the Trash; only then the item is taken from its place, in one step. A failure before that leaves the item as it
/// was and nothing in the Trash. When the move has returned, its changes are on the disk. Nothing in the Trash is
/// replaced: if the name is taken, a number is added.
class RootMove {
 public:
  /// `path` leads to the item of `source`, whose folder and item are held open. The Trash is the user's. The item is to
  /// have the name `storedName` there.
  RootMove(const std::string& path, PinnedPlace source, SharedTrashDirectory trash, const FileSystemIdentity& person,
           const std::string& storedName, const std::string& deletionDate);
  RootMove(RootMove&&) noexcept;
  RootMove& operator=(RootMove&&) = delete;
  RootMove(const RootMove&) = delete;
  RootMove& operator=(const RootMove&) = delete;
  ~RootMove();

  /// Why it would fail, or change what is not part of the item: a volume mounted in it, a locked item, or files with
  /// other names that would have to be changed. Changes nothing.
  posix::FileError obstacle() const;
  /// Whether item and Trash are on the same volume.
  bool isOnTrashVolume() const;
  int sourceFolder() const;
  int trashFolder() const;

  /// The name that it has in the Trash after the move.
  const std::string& storedName() const;

  /// Moves it. After a success, `note` may contain a remark.
  posix::FileError run(std::string* note);

 private:
  class Steps;
  std::unique_ptr<Steps> steps_;
};

/// The words for people about an obstacle.
std::string obstacleWords(int error);

/// Whether a Trash is a home trash on the volume of its user's home.
bool isTrashOfHome(const TrashDirectory& trash, const TrashUser& person);

/// Finishes or undoes interrupted moves to this user's Trash.
void mendRootMoves(const TrashUser& person);
/// The same in a Trash that is already open. A Trash that is not on the volume of the user's home is left alone.
void mendRootMoves(const TrashDirectory& trash, const TrashUser& person);

}  // namespace qm::linux_
