// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "Platform/linux/trash/TrashDirectory.h"

namespace qm::linux_ {

/// The Trashes with changes that may not be on the disk yet, one for each volume. None is held open, so that volumes
/// can be ejected, which flushes everything anyway. Any thread.
class UnflushedTrashes {
 public:
  void add(const TrashDirectory& trash);

  /// Flushes the earlier changes to the disk and waits for it. A Trash that is no longer at its path is skipped.
  void flush();

 private:
  struct Folder {
    std::string path;
    ItemIdentity identity;
  };

  std::mutex mutex_;
  std::map<std::uint64_t, Folder> folders_;  // keyed by device
};

}  // namespace qm::linux_
