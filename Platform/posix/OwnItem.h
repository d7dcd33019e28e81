#pragma once

#include <sys/stat.h>

#include <string>

namespace qm::posix {

bool isSameItem(const struct stat& one, const struct stat& other);

/// What has the name now is the item that is open as `item`, however that was opened. As long as it is held open, the
/// file system gives no other item its number.
bool isStill(int item, int folder, const std::string& name);

/// Whoever has rights in a folder can put something else in the place of an item that was just made there by its
/// name. These tell afterwards whether what was opened under that name is the own item. They answer 0, ESTALE when
/// it is another one, or another error number.

/// `found` is what the item in `folder` is like.
int checkOwner(int folder, const struct stat& found);

/// `item` is an open folder in `folder`, made so that nobody but its owner has rights in it.
int checkOwnFolder(int folder, int item);

}  // namespace qm::posix
