// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/CallFilter.h"

namespace qm::testing {

/// One system call of a body. The body's own process is "1", its second child (process or thread) "1.2". Calls are
/// numbered among those of the same kind in their process, so that the number of polls in between does not matter.
struct Call {
  std::string task;
  long number = 0;
  int occurrence = 0;

  bool operator==(const Call&) const = default;
};

/// For messages.
std::string describe(const Call& call);

/// The intervention at a call.
enum class Deed {
  Nothing,
  Fail,        ///< it is skipped and returns an error; a descriptor is closed all the same, as the kernel does
  KillBefore,  ///< the body and all its children are killed, and it is skipped
  KillAfter,   ///< they are killed when it has returned
};

struct Intervention {
  Deed deed = Deed::Nothing;
  Call at;
  int error = 0;
};

enum class End {
  Returned,   ///< `status` is the body's own
  Died,       ///< by a signal, or on its own
  Killed,     ///< by the intervention
  OutOfTime,  ///< and killed for that
  NotTraced,  ///< not permitted on this machine: `problem` says why. The body was not run.
};

struct TracedRun {
  End end = End::Died;
  int status = -1;
  /// The call was reached.
  bool met = false;
  std::vector<Call> calls;
  std::string problem;
};

/// Runs bodies in a child process and traces every system call of the child and its descendants. While a body is
/// running the calling process has no other children and one thread.
class FaultDriver {
 public:
  explicit FaultDriver(CallFilter filter = allCalls(), std::chrono::milliseconds limit = std::chrono::seconds(10))
      : filter_(std::move(filter)), limit_(limit) {}

  /// The body returns 0 to 63. Its output is discarded, so that a thousand runs disturb nobody; its only effects are on
  /// the machine.
  TracedRun run(const std::function<int()>& body, const Intervention& intervention = {}) const;

 private:
  CallFilter filter_;
  std::chrono::milliseconds limit_;
};

/// Runs a body as the driver does, untraced; false if it did not return 0 within half a minute.
bool runUndisturbed(const std::function<int()>& body);

/// In a body: the calls between its constructor and its destructor are counted.
class CountedCalls {
 public:
  CountedCalls();
  CountedCalls(const CountedCalls&) = delete;
  CountedCalls& operator=(const CountedCalls&) = delete;
  ~CountedCalls();
};

}  // namespace qm::testing
