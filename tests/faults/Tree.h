// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <map>
#include <string>

namespace qm::testing {

/// An item as it is on the disk.
struct TreeItem {
  char kind = '?';  ///< f(ile), d (folder), l(ink)
  mode_t mode = 0;
  uid_t user = 0;
  gid_t group = 0;
  std::string contents;  ///< a file's, or a link's target

  bool operator==(const TreeItem&) const = default;
};

/// The item with everything in it, each under its relative path ("" is the item itself).
using Tree = std::map<std::string, TreeItem>;

/// Empty if nothing is there. Follows no link.
Tree treeAt(const std::string& path);

/// The first difference, for messages: "contents/file is missing". Empty when there is none.
std::string difference(const Tree& found, const Tree& expected);

/// The same, but folders may have become `person`'s and have been opened to that user, and files may have lost the bits
/// that lend rights.
std::string differenceButForFolders(const Tree& found, const Tree& expected, uid_t person);

}  // namespace qm::testing
