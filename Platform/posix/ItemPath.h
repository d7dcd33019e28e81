// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The error number of an invalid path: EINVAL if it is empty, relative or contains a NUL byte, ENAMETOOLONG if it is
/// longer than the system accepts; 0 for any other.
int pathError(const std::string& path);

/// The last component, "/" for the root; trailing slashes are ignored.
std::string nameIn(const std::string& path);

/// The path of the parent folder.
std::string folderOf(const std::string& path);

/// Whether the path names an item of the folder and nothing deeper, as text.
bool isDirectlyIn(const std::string& folder, const std::string& path);

/// The path without trailing slashes, so that it names the item itself and never the target of a link of that name.
std::string withoutTrailingSlashes(const std::string& path);

/// The absolute path of the item that `path` leads to, without links. "" if nothing is there, and if the path is not
/// UTF-8.
std::string resolvedTextPath(const std::string& path);

/// An item's parent folder, held open, and its name. Operations through it stay in that folder even if somebody renames
/// or replaces a part of the path meanwhile.
struct Place {
  UniqueFd folder;
  std::string name;
};

/// Returns 0 or an error number; EINVAL for the root and for a path that ends in "." or "..".
int openPlace(const std::string& path, Place& place);

}  // namespace qm::posix
