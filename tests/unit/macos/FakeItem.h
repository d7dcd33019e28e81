// SPDX-License-Identifier: MIT
#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>

#include "Platform/posix/FinderBytes.h"

namespace qm::macos {

inline struct stat statusOfAFile() {
  struct stat status {};
  status.st_mode = S_IFREG | S_IRUSR;
  status.st_nlink = 1;
  return status;
}

/// The item that every file reference refers to, with what the system reports of it.
struct OnlyItem {
  std::optional<std::string> path;                      ///< null: the item is gone
  std::optional<struct stat> status = statusOfAFile();  ///< null: the call fails with ENOENT
  posix::FinderBytes bytes{};                           ///< its Finder information
  int readError = 0;                                    ///< of reading the Finder information
  int writeError = 0;                                   ///< of writing it
  int writes = 0;                                       ///< how often it was written
  std::function<void()> onWrite = [] {};                ///< called then
};
inline OnlyItem onlyItem;

}  // namespace qm::macos
