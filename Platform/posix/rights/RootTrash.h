// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/Users.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// A Trash that root moves items into, held open. It belongs to the user whose Trash it is, and nobody else but root
/// can write to it. Its path was walked by the rules of `pinPath`.
struct HeldTrash {
  UniqueFd folder;
  std::string path;
  std::string refusal;  ///< why this program refuses the Trash or the item; "" if a system call failed
};

/// Opens the Trash at `path` for the user at the console. If it is missing, it is created with that user's rights.
/// Returns 0 or an error number; ENOENT if there is no such user.
int openTrashOfPerson(const platform::Users& users, const std::string& path, HeldTrash& trash);

/// Moves the item at `place` into the Trash in one step, under the first free name, and sets `stored` to its path
/// there. `item` is the status of the item that was checked before. If another item has arrived, it is moved back
/// (ESTALE); if that fails, `trash.refusal` says where it is. As long as the caller keeps the checked item open, no
/// other item gets its number. Returns 0 or an error number; EXDEV if the Trash is on another volume.
int moveIntoHeldTrash(const Place& place, const struct stat& item, HeldTrash& trash, std::string& stored);

}  // namespace qm::posix
