// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::macos {

/// What the system's call has answered.
struct TrashAnswer {
  bool done = false;
  std::string path;         ///< where the item is in the Trash
  std::string domain;       ///< of the error: which system its code belongs to
  long code = 0;            ///< of the error
  std::string domainBelow;  ///< of the error underneath, "" where there is none
  long codeBelow = 0;       ///< of the error underneath, 0 where there is none
  std::string description;  ///< the system's sentence
};

/// `-[NSFileManager trashItemAtURL:resultingItemURL:error:]`. A link itself is meant. The path is UTF-8.
TrashAnswer trashItem(const std::string& path);

/// Where the volume is mounted that an open folder is on; "" where that cannot be told.
std::string volumeOf(int folder);
/// Writes a volume out to the disk, and waits for that.
void writeOut(const std::string& volume);

}  // namespace qm::macos
