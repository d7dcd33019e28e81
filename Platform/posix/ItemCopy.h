#pragma once

#include <sys/stat.h>

#include <string>

namespace qm::posix {

/// An item by the folder that it is or will be in.
struct ItemName {
  int folder;
  const std::string& name;
};

/// How the copying of one item ended.
struct ItemCopyResult {
  int error = 0;
  bool made = false;  ///< something of the new name was made, complete or not
};

/// Whether the folder of the copy may hand its own access lists on to what is made in it.
enum class InheritedAccess : bool { None, Possible };

/// Copies a file, a link as a link, a FIFO, a socket or a device, with owner, mode, times and extended
/// attributes as far as they may be set. `attributes` are those of the source. Replaces nothing.
ItemCopyResult copyNonFolder(ItemName from, ItemName to, const struct stat& attributes, InheritedAccess inherited);

/// Gives an open file or folder the owner, mode, times and extended attributes of another. The bits that
/// lend the owner's rights are kept only with the owner. Answers 0 or an error number.
int copyAttributes(int from, int to, const struct stat& attributes);

}  // namespace qm::posix
