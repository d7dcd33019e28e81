#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "Platform/linux/trash/TrashDirectory.h"

namespace qm::linux_ {

/// Which Trashes have something in them that may not be on the disk yet, one of each volume. None is held open: its
/// volume can be ejected, which writes everything anyhow. Any thread.
class UnflushedTrashes {
 public:
  void add(const TrashDirectory& trash);

  /// Writes to the disk what was put there before, and waits for it. A Trash that is not at its place any more is left
  /// out.
  void flush();

 private:
  struct Folder {
    std::string path;
    ItemIdentity identity;
  };

  std::mutex mutex_;
  std::map<std::uint64_t, Folder> folders_;  // by their device
};

}  // namespace qm::linux_
