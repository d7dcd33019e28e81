// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace qm::posix {

bool isSameItem(const struct stat& one, const struct stat& other);

/// Whether the file is the one that `user` has just created, and not another that somebody has put in its place.
inline bool isOwnNewFile(const struct stat& found, uid_t user) {
  return S_ISREG(found.st_mode) && found.st_uid == user && found.st_nlink == 1;
}

/// Whether the name still refers to the item that is open as `item`, however that was opened. While it is open, the
/// file system gives its inode number to no other item.
bool isStill(int item, int folder, const std::string& name);

/// Reads the text of a link by its name. Returns 0 or an error number; ENAMETOOLONG if the text is too long.
int readLinkText(int folder, const std::string& name, std::string& text);

/// The same for the link that is open as `item`, on systems that read a link only by its name. The text counts only if
/// the name refers to the link afterwards. Null on failure, see `errno`; ESTALE if another item has the name.
std::optional<std::string> readOwnLinkText(int item, int folder, const std::string& name);

/// Anybody with rights in a folder can replace an item that was just created there by name. These functions check
/// afterwards whether the item opened under that name is this process's own. They return 0, ESTALE if it is another
/// one, or another error number.

/// `found` is the stat result of the item in `folder`.
int checkOwner(int folder, const struct stat& found);

/// `item` is an open folder in `folder`, created without any rights for others.
int checkOwnFolder(int folder, int item);

}  // namespace qm::posix
