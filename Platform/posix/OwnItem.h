#pragma once

#include <sys/stat.h>

namespace qm::posix {

/// Whoever has rights in a folder can put something else in the place of an item that was just made there by its
/// name. These tell afterwards whether what was opened under that name is the own item. They answer 0, ESTALE when
/// it is another one, or another error number.

/// `found` is what the item in `folder` is like.
int checkOwner(int folder, const struct stat& found);

/// `item` is an open folder in `folder`, made so that nobody but its owner has rights in it.
int checkOwnFolder(int folder, int item);

}  // namespace qm::posix
