#pragma once

#include <optional>
#include <string>

#include "Platform/linux/privileges/helper/FileCommand.h"
#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/linux/rights/UserDatabase.h"

namespace qm::linux_ {

/// An item, and the name that it shall have in the Trash.
struct TrashRequest {
  std::string item;
  std::string storedName;
};

/// What a command asks for that moves an item into the person's ~/.Trash. Null for every other command.
std::optional<TrashRequest> trashMoveIn(const FileCommand& command, const UserRecord& person);

/// Moves an item to a person's Trash with root's rights and hands it over.
///
/// At any moment the item is whole at its place or whole in the Trash with its ".trashinfo". On one volume it is
/// renamed in one step. Across volumes a copy is made where nobody sees it, flushed to the disk and handed over, put
/// into the Trash, and only then the item is taken from its place, in one step. Whatever fails before leaves the item
/// as it was and nothing in the Trash. What the move has done is on the disk when it has ended. Nothing in the Trash is
/// replaced: a taken name gets a number.
///
/// Refused are an item with a volume mounted in it, with locked items, or with files that have other names under which
/// they would be changed as well, and, on a kernel without Landlock, any move across volumes.
PreparedWork prepareTrashMove(const std::string& path, const std::string& storedName, const UserRecord& person);

/// Finishes or undoes what moves to this person's Trash left that were ended in the middle.
void mendTrashMoves(const UserRecord& person);

}  // namespace qm::linux_
