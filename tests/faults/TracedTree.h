// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <set>
#include <string>

#include "tests/faults/FaultDriver.h"

namespace qm::testing {

/// A process that is traced from its beginning, and all its descendants.
class TracedTree {
 public:
  TracedTree(pid_t root, const Intervention& intervention, bool ofThreads)
      : root_(root), intervention_(intervention), ofThreads_(ofThreads) {}

  /// Attaches to the root, which waits. Returns 0, or the error number that prevents it.
  int seize();

  /// Follows all of them to their ends, or kills them when `limit` has passed.
  TracedRun follow(std::chrono::milliseconds limit);

 private:
  struct Task {
    std::string name;
    int children = 0;
    bool isThread = false;
    bool isReturning = false;  // after the call with the intervention
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
  std::set<pid_t> unknown_;  // seen before the event of their creation
  unsigned processor_ = 0;
  bool counting_ = false;
  bool ending_ = false;
  TracedRun run_;
};

}  // namespace qm::testing
