// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "Platform/Trash.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {

/// Opens the folder of an item, so that calls can take this descriptor and the item's name instead of a path. As root,
/// the path is walked by the rules of `pinPath`, even if missing folders are created. Returns 0 or an error number. If
/// this program itself refuses the path, `refusal` is the reason, for the console.
int openHeldPlace(const std::string& path, Place& place, std::string* refusal = nullptr,
                  platform::MissingFolders missing = platform::MissingFolders::Fail);

/// The same for a path that may be the root, which is named "." in itself because it is in no folder.
int openHeldPlaceOrRoot(const std::string& path, Place& place);

/// The same. If the folder is missing, opens the nearest existing one above it, with the name of what is missing there.
int openNearestHeldPlace(std::string path, Place& place);

/// The path without links on the way; a link at its end stays. If its folder cannot be opened, the path is returned
/// unchanged.
std::string pathWithoutLinks(const std::string& path);

/// Opens a folder for listing by the same rules; a link in its place is not followed.
int openHeldFolder(const std::string& path, UniqueFd& folder, std::string* refusal = nullptr);

/// An item with the folder that it is in.
struct HeldItem {
  Place place;
  UniqueFd item;          ///< opened by `openItself`; none for a socket if the system cannot open one
  struct stat status {};  ///< of the open item, or else of the item with that name
  int openError = 0;      ///< why the item is not open; 0 for such a socket
  std::string refusal;    ///< as with `openHeldPlace`

  /// 0 if there is an item, whether it could be opened or not; else the error number.
  int errorUnlessFound() const { return status.st_mode != 0 ? 0 : openError != 0 ? openError : EIO; }
};

/// Why the item could not be removed from its folder, see `obstacleToRemovingEntry`. 0 if the folder cannot be opened,
/// because then nothing shows that there is an obstacle.
int obstacleToRemoving(const std::string& path);

/// Opens an item and its folder by the same rules. Returns 0, or an error number if the folder could not be opened.
int holdItem(const std::string& path, HeldItem& held);

}  // namespace qm::posix
