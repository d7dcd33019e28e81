#pragma once

#include <string>

#include "Platform/posix/UniqueFd.h"

namespace qm::posix {

/// The error number of a path that can name nothing: EINVAL when it is empty, relative or holds a NUL
/// byte, ENAMETOOLONG when it is longer than the system takes; 0 for any other.
int pathError(const std::string& path);

/// The last component, "/" for the root; trailing slashes do not count.
std::string nameIn(const std::string& path);

/// The path of the folder that the last component is in.
std::string folderOf(const std::string& path);

/// The path without the slashes at its end, so that the item itself is meant and never the target of
/// a link of that name.
std::string withoutTrailingSlashes(const std::string& path);

/// An item by its folder, held open, and its name: what is done by it stays in that folder even when
/// somebody renames or replaces a part of the path meanwhile.
struct Place {
  UniqueFd folder;
  std::string name;
};

/// Answers 0 or an error number; EINVAL for the root and for a path that ends in "." or "..".
int openPlace(const std::string& path, Place& place);

}  // namespace qm::posix
