// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <thread>
#include <vector>

#include "Platform/posix/process/ProcessHandle.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {

/// Reaps children that nobody waits for any more, on one thread that starts with the first of them. It uses no signal
/// handler: those are shared by the whole process, including its libraries.
class Reaper {
 public:
  Reaper() = default;
  Reaper(const Reaper&) = delete;
  Reaper& operator=(const Reaper&) = delete;
  /// Children that are still running are not waited for.
  ~Reaper();

  /// Takes over a child. Any thread.
  void adopt(ProcessHandle child);

 private:
  void startThread();
  void run();
  bool takeAdopted();
  void waitForChange() const;

  const Wakeup wakeup_;
  std::mutex mutex_;
  bool ending_ = false;                  // guarded by mutex_
  std::vector<ProcessHandle> adopted_;   // guarded by mutex_
  std::vector<ProcessHandle> children_;  // used by the thread only
  std::thread thread_;
};

}  // namespace qm::posix
