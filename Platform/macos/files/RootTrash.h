// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/Users.h"
#include "Platform/posix/ItemPath.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::macos {

/// A Trash that root moves items into, held open. It is a folder of the person's it is meant for and of nobody else's
/// to write in; no link has led to it that anybody else could have planted.
struct HeldTrash {
  posix::UniqueFd folder;
  std::string path;
  std::string refusal;  ///< why this program does not use it, where no call has failed
};

/// Opens the Trash of the person meant, who is the one at the console. It is made, with that person's rights, where it
/// is missing. Returns 0 or an error number.
int openTrashOfPerson(const platform::Users& users, const std::string& path, HeldTrash& trash);

/// Moves an item into it in one step, under the first name that is free. What has arrived is `item`, which was looked
/// at before, else it goes back. As long as an item is open no other gets its number. EXDEV where the Trash is on
/// another volume. `stored` is its path there.
int moveIntoHeldTrash(const posix::Place& place, const struct stat& item, const HeldTrash& trash, std::string& stored);

}  // namespace qm::macos
