// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::macos {

/// What the system's call has answered.
struct TrashAnswer {
  bool done = false;
  std::string path;         ///< where the item is in the Trash
  long cocoaCode = 0;       ///< of the error
  long posixCode = 0;       ///< of the error underneath, 0 where there is none
  std::string description;  ///< the system's sentence
};

/// `-[NSFileManager trashItemAtURL:resultingItemURL:error:]`. A link itself is meant. The path is
/// UTF-8.
TrashAnswer trashItem(const std::string& path);

}  // namespace qm::macos
