#pragma once

#include <mutex>
#include <thread>
#include <vector>

#include "Platform/posix/process/ProcessHandle.h"
#include "Platform/posix/process/Wakeup.h"

namespace qm::posix {

/// Reaps children that nobody waits for any more, on one thread that starts with the first of them. No signal handler
/// is involved: those belong to the whole process, and to its libraries.
class Reaper {
 public:
  Reaper() = default;
  Reaper(const Reaper&) = delete;
  Reaper& operator=(const Reaper&) = delete;
  /// Children that still run are left to the process's end.
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
  bool ending_ = false;                  // guarded
  std::vector<ProcessHandle> adopted_;   // guarded
  std::vector<ProcessHandle> children_;  // the thread's own
  std::thread thread_;
};

}  // namespace qm::posix
