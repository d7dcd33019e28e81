#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <set>
#include <string>

#include "tests/faults/FaultDriver.h"

namespace qm::testing {

/// A process that is traced from its beginning, and all that comes from it.
class TracedTree {
 public:
  TracedTree(pid_t root, const Intervention& intervention, bool ofThreads)
      : root_(root), intervention_(intervention), ofThreads_(ofThreads) {}

  /// Takes hold of the root, which waits. 0, or the error number that keeps it from that.
  int seize();

  /// Follows all of them to their ends, or ends them when `limit` is over.
  TracedRun follow(std::chrono::milliseconds limit);

 private:
  struct Task {
    std::string name;
    int children = 0;
    bool isThread = false;
    bool isReturning = false;  // from the call that is intervened after
    std::map<long, int> calls;
  };

  void take(pid_t id, int status);
  void ended(pid_t id, int status);
  void stopped(pid_t id, Task& task, int status);
  void bornFrom(Task& parent, pid_t id, bool asThread);
  void renamed(pid_t id);
  void called(pid_t id, Task& task);
  void intervene(pid_t id, Task& task);
  void returned(pid_t id, Task& task);
  bool fail(pid_t id, bool unmade);
  void resume(pid_t id, const Task& task, int signal = 0) const;
  void giveUp(const std::string& problem);
  void endAll(End why);

  const pid_t root_;
  const Intervention& intervention_;
  const bool ofThreads_;
  std::map<pid_t, Task> tasks_;
  std::set<pid_t> unknown_;  // seen before the event of their birth
  unsigned processor_ = 0;
  bool counting_ = false;
  bool ending_ = false;
  TracedRun run_;
};

}  // namespace qm::testing
