// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/Refusal.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::posix {

/// The result of walking a path: a folder held by descriptor and a name in it.
struct PinnedPlace {
  UniqueFd folder;
  std::string name;
  /// The item, opened only for calls that take its descriptor (`lookupFlag`); none if nothing is there, or if the item
  /// is a socket that the system cannot open.
  UniqueFd item;
  struct stat itemStatus {};
  /// Everybody but root who could have redirected the path.
  Writers writers;
  /// Whether a link was followed that somebody else than root could have planted.
  bool throughUntrustedLink = false;
  /// Whether the path ends with a slash, so that it must be a folder.
  bool withTrailingSlash = false;

  bool exists() const { return itemStatus.st_mode != 0; }
  bool isFolder() const { return item && S_ISDIR(itemStatus.st_mode); }
  bool isLink() const { return item && S_ISLNK(itemStatus.st_mode); }
  /// The path at which the system shows the location now; "" if it cannot be determined.
  std::string shown() const;
};

enum class LastLink : bool { Stays, IsFollowed };

/// Walks an absolute path for root, one component at a time, each from the descriptor of the one before. Every path
/// that root follows for somebody else is walked here.
///
/// A link is followed only if it cannot serve to reach somebody else's items: if nobody but root could have planted it,
/// or if its target belongs to the one user who could have. ".." is followed only if nobody but root can move the
/// folders on the way. A path that breaks these rules is refused with ELOOP or EPERM; other errors are those that any
/// program would get.
Answer<PinnedPlace> pinPath(const std::string& path, LastLink lastLink);

/// The same, but missing folders on the way are created, with root's rights.
Answer<PinnedPlace> pinPathMakingFolders(const std::string& path);

/// Opens a folder for naming items in it, by the same walk but with a stricter rule: only links that nobody but root
/// could have planted are followed. Returns none, with ELOOP, if another link is on the way; none, with another
/// `errno`, on failure.
UniqueFd openFolderThroughRootsLinks(const std::string& path);

}  // namespace qm::posix
