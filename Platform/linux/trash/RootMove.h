#pragma once

#include <memory>
#include <string>

#include "Platform/linux/rights/PathWalk.h"
#include "Platform/linux/trash/TrashDirectory.h"
#include "Platform/linux/trash/TrashUser.h"
#include "Platform/posix/FileError.h"

namespace qm::linux_ {

/// Moves an item to a person's Trash with root's rights and hands it over.
///
/// At any moment the item is whole at its place or whole in the Trash with its ".trashinfo". On one volume it is
/// renamed in one step. Across volumes a copy is made where nobody sees it, flushed to the disk and handed over, put
/// into the Trash, and only then the item is taken from its place, in one step. Whatever fails before leaves the item
/// as it was and nothing in the Trash. What the move has done is on the disk when it has ended. Nothing in the Trash is
/// replaced: a taken name gets a number.
class RootMove {
 public:
  /// `path` leads to the item of `source`, whose folder and item are held. The Trash is the person's. The item is to
  /// have the name `storedName` there.
  RootMove(const std::string& path, PinnedPlace source, SharedTrashDirectory trash, const FileSystemIdentity& person,
           const std::string& storedName, const std::string& deletionDate);
  RootMove(RootMove&&) noexcept;
  RootMove& operator=(RootMove&&) = delete;
  RootMove(const RootMove&) = delete;
  RootMove& operator=(const RootMove&) = delete;
  ~RootMove();

  /// Why it would fail, or change what is not part of the item: a volume mounted in it, a locked item, files with other
  /// names that would have to be changed. Changes nothing.
  posix::FileError obstacle() const;
  /// Item and Trash lie on the same volume.
  bool isOnTrashVolume() const;
  int sourceFolder() const;
  int trashFolder() const;

  /// The name that it has in the Trash when it has been moved.
  const std::string& storedName() const;

  /// Moves it. `note` says what is worth knowing of a success.
  posix::FileError run(std::string* note);

 private:
  class Steps;
  std::unique_ptr<Steps> steps_;
};

/// What people are told about an obstacle.
std::string obstacleWords(int error);

/// Whether a Trash is a home trash on the volume of its person's home.
bool isTrashOfHome(const TrashDirectory& trash, const TrashUser& person);

/// Finishes or undoes what moves to this person's Trash left that were ended in the middle.
void mendRootMoves(const TrashUser& person);
/// The same in a Trash that is open already. One that is not on the volume of the person's home is left alone.
void mendRootMoves(const TrashDirectory& trash, const TrashUser& person);

}  // namespace qm::linux_
