// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "Platform/ProductIdentity.h"
#include "Platform/linux/privileges/helper/FileCommand.h"
#include "Platform/linux/privileges/helper/PrivilegedWork.h"
#include "Platform/linux/rights/UserDatabase.h"

namespace qm::linux_ {

/// An item, and the name that it is to have in the Trash.
struct TrashRequest {
  std::string item;
  std::string storedName;
};

/// The request of a command that moves an item into the user's ~/.Trash. Null for every other command.
std::optional<TrashRequest> trashMoveIn(const FileCommand& command, const UserRecord& person);

/// Prepares a move to the Trash that the user's desktop shows (see `RootMove`). Across volumes it is refused on a
/// kernel without Landlock.
PreparedWork prepareTrashMove(const TrashRequest& request, const UserRecord& person,
                              const platform::ProductIdentity& product);

/// Finishes or undoes interrupted moves to this user's Trash.
void mendTrashMoves(const UserRecord& person, const platform::ProductIdentity& product);

}  // namespace qm::linux_
