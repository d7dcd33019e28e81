#pragma once

#include <optional>
#include <string>

#include "Platform/ProductIdentity.h"
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

/// Makes ready to move an item to the Trash that the person's desktop shows (see `RootMove`). Across volumes it is
/// refused on a kernel without Landlock.
PreparedWork prepareTrashMove(const TrashRequest& request, const UserRecord& person,
                              const platform::ProductIdentity& product);

/// Finishes or undoes what moves to this person's Trash left that were ended in the middle.
void mendTrashMoves(const UserRecord& person, const platform::ProductIdentity& product);

}  // namespace qm::linux_
