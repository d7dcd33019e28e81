#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "Platform/posix/UniqueFd.h"
#include "Platform/posix/rights/Refusal.h"
#include "Platform/posix/rights/Writers.h"

namespace qm::posix {

/// Where a path leads: a folder held by descriptor and a name in it.
struct PinnedPlace {
  UniqueFd folder;
  std::string name;
  /// The item, opened to name it only; none where nothing is there.
  UniqueFd item;
  struct stat itemStatus {};
  /// Everybody but root who could have led the way elsewhere.
  Writers writers;
  /// A link was followed that somebody else than root could have planted.
  bool throughDoubtfulLink = false;
  /// The path says that it means a folder.
  bool withTrailingSlash = false;

  bool isFolder() const { return item && S_ISDIR(itemStatus.st_mode); }
  bool isLink() const { return item && S_ISLNK(itemStatus.st_mode); }
  /// The path at which the system shows the place now; "" where it cannot be found out.
  std::string shown() const;
};

enum class LastLink : bool { Stays, IsFollowed };

/// Walks an absolute path for root, a component at a time, each from the descriptor of the one before. Every path
/// that root follows for somebody else is walked here.
///
/// A link is followed only if it cannot serve to reach what is somebody else's: when nobody but root could have led
/// the way to it, or when one person could and what the path leads to is that person's own. ".." is followed only
/// where nobody but root can move the folders on the way. What is refused is refused with ELOOP or EPERM; everything
/// else fails as it would for any program.
Answer<PinnedPlace> pinPath(const std::string& path, LastLink lastLink);

/// The same for a path whose folders are made, for root, where they are missing.
Answer<PinnedPlace> pinPathMakingFolders(const std::string& path);

/// Opens a folder to name items in it, by the same walk but for one rule: only links that nobody but root could have
/// planted are followed. None, with ELOOP, where another link is on the way; none, with another `errno`, on failure.
UniqueFd openFolderThroughRootsLinks(const std::string& path);

}  // namespace qm::posix
