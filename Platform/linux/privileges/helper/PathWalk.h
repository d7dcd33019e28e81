#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

#include "Platform/linux/privileges/helper/Ownership.h"
#include "Platform/linux/privileges/helper/Refusal.h"
#include "Platform/posix/UniqueFd.h"

namespace qm::linux_ {

/// Where a path leads: a folder held by descriptor and a name in it.
struct PinnedPlace {
  posix::UniqueFd folder;
  std::string name;
  /// The item, held for its place only; none where nothing is there.
  posix::UniqueFd item;
  struct stat itemStatus {};
  /// Everybody but root who could have led the way elsewhere.
  Changers changers;
  /// The path says that it means a folder.
  bool withTrailingSlash = false;

  bool isFolder() const { return item && S_ISDIR(itemStatus.st_mode); }
  bool isLink() const { return item && S_ISLNK(itemStatus.st_mode); }
  /// The place as a tool reaches it, whatever is done to the folders above.
  std::string path() const;
};

enum class LastLink : bool { Stays, IsFollowed };

/// Walks an absolute path for root, a component at a time, each from the descriptor of the one before.
///
/// A link is followed only if it cannot serve to reach what is somebody else's: when nobody but root
/// could have led the way to it, or when one person could and what the path leads to is that person's
/// own. ".." is followed only where nobody but root can move the folders on the way. What is refused is
/// refused with ELOOP or EPERM; everything else fails as it would for any program.
Answer<PinnedPlace> pinPath(const std::string& path, LastLink lastLink);

/// The same for a path whose folders are made, for root, where they are missing.
Answer<PinnedPlace> pinPathMakingFolders(const std::string& path);

/// The descriptor's path for a tool that inherits it.
std::string inheritedPath(int fd);

}  // namespace qm::linux_
