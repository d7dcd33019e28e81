// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <string>

#include "Platform/Trash.h"
#include "Platform/posix/ItemPath.h"

namespace qm::posix {

/// Opens the folder of an item to name it there. For root nobody with fewer rights can have led the way elsewhere, even
/// where missing folders are created. Returns 0 or an error number. `refusal` is the reason if this program refuses the
/// path itself, for the console.
int openHeldPlace(const std::string& path, Place& place, std::string* refusal = nullptr,
                  platform::MissingFolders missing = platform::MissingFolders::Fail);

/// Opens a folder for listing by the same rules; a link in its place is not followed.
int openHeldFolder(const std::string& path, UniqueFd& folder, std::string* refusal = nullptr);

/// An item with the folder that it is in.
struct HeldItem {
  Place place;
  UniqueFd item;          ///< opened by `openItself`; none of a socket where the system opens none
  struct stat status {};  ///< of the open item, or of what has the name
  int openError = 0;      ///< why the item is not open; 0 for such a socket
  std::string refusal;    ///< as with `openHeldPlace`
};

/// Holds an item by the same rules. Returns 0 or the error number of its folder.
int holdItem(const std::string& path, HeldItem& held);

}  // namespace qm::posix
