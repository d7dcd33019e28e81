// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace qm::macos {

// Errors of the frameworks' own list (NSCocoaErrorDomain), with their numbers on a Mac.
inline constexpr long kNoSuchFile = 4;
inline constexpr long kFileLocked = 255;
inline constexpr long kMayNotRead = 257;
inline constexpr long kNoSuchFileToRead = 260;
inline constexpr long kMayNotWrite = 513;
inline constexpr long kFileExists = 516;
inline constexpr long kOutOfSpace = 640;
inline constexpr long kVolumeReadOnly = 642;
inline constexpr long kUnsupported = 3328;

/// The result of the system's call.
struct TrashAnswer {
  bool done = false;
  std::string path;         ///< where the item is in the Trash
  std::string domain;       ///< of the error: says which list its code is from
  long code = 0;            ///< of the error
  std::string domainBelow;  ///< of the underlying error; "" if there is none
  long codeBelow = 0;       ///< of the underlying error; 0 if there is none
  std::string description;  ///< the system's sentence about the error
};

/// Calls `-[NSFileManager trashItemAtURL:resultingItemURL:error:]`. If the item is a link, the link itself is moved.
/// The path must be UTF-8.
TrashAnswer trashItem(const std::string& path);

/// The mount point of the volume that an open folder is on; "" if it cannot be determined.
std::string volumeOf(int folder);
/// Flushes all changes on a volume to the disk, and waits for that. Returns 0 or an error number.
int writeOut(const std::string& volume);

/// The extended attribute of an open item. `writeAttribute` returns 0 or an error number. "" is read if there is none,
/// or if it is longer than a note can be.
int writeAttribute(int item, const std::string& name, const std::string& text);
std::string readAttribute(int item, const std::string& name);
void removeAttribute(int item, const std::string& name);

}  // namespace qm::macos
