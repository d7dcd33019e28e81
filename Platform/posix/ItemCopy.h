#pragma once

#include <sys/stat.h>

#include <string>

namespace qm::posix {

/// An item by the folder that it is or will be in.
struct ItemName {
  int folder;
  const std::string& name;
};

/// How an item without contents of its own kind of items (anything but a folder) was copied.
struct ItemCopyResult {
  int error = 0;
  bool made = false;  ///< something of the new name was made, complete or not
};

/// Copies a file, a link as a link, a FIFO, a socket or a device, with owner, mode, times and extended
/// attributes as far as they may be set. `attributes` are those of the source. Replaces nothing.
ItemCopyResult copyNonFolder(ItemName from, ItemName to, const struct stat& attributes);

/// Gives an open file or folder the owner, mode, times and extended attributes of another. The bits that
/// lend the owner's rights are kept only with the owner. Answers 0 or an error number.
int copyAttributes(int from, int to, const struct stat& attributes);

}  // namespace qm::posix
