#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "tests/faults/CallFilter.h"

namespace qm::testing {

/// One system call of a body. The body's own process is "1", its second child (process or thread) "1.2". Calls
/// are numbered among those of the same kind in their process: how often somebody polls meanwhile does not count.
struct Call {
  std::string task;
  long number = 0;
  int occurrence = 0;

  bool operator==(const Call&) const = default;
};

/// For messages.
std::string describe(const Call& call);

/// What is done at a call.
enum class Deed {
  Nothing,
  Fail,        ///< it is not made and returns an error; a descriptor is closed all the same, as the kernel does
  KillBefore,  ///< the body and all its children are ended, and it is not made
  KillAfter,   ///< they are ended when it has returned
};

struct Intervention {
  Deed deed = Deed::Nothing;
  Call at;
  int error = 0;
};

enum class End {
  Returned,   ///< `status` is the body's own
  Died,       ///< by a signal, or by leaving
  Killed,     ///< by the intervention
  OutOfTime,  ///< and ended for that
  NotTraced,  ///< the machine does not allow it: `problem` says why. The body was not run.
};

struct TracedRun {
  End end = End::Died;
  int status = -1;
  /// The call was reached.
  bool met = false;
  std::vector<Call> calls;
  std::string problem;
};

/// Runs bodies in a child of their own, under the eyes of this process, which sees every system call of the child
/// and of all that comes from it. While a body runs the calling process has no other children and one thread.
class FaultDriver {
 public:
  explicit FaultDriver(CallFilter filter = allCalls(), std::chrono::milliseconds limit = std::chrono::seconds(10))
      : filter_(std::move(filter)), limit_(limit) {}

  /// The body returns 0 to 63. Its descriptors lead nowhere, so that what it says in a thousand runs disturbs
  /// nobody; all it changes is the machine.
  TracedRun run(const std::function<int()>& body, const Intervention& intervention = {}) const;

 private:
  CallFilter filter_;
  std::chrono::milliseconds limit_;
};

/// Runs a body as the driver does, untraced; false when it did not return 0 within half a minute.
bool runUndisturbed(const std::function<int()>& body);

/// In a body: what counts lies between the beginning of this and its end.
class CountedCalls {
 public:
  CountedCalls();
  CountedCalls(const CountedCalls&) = delete;
  CountedCalls& operator=(const CountedCalls&) = delete;
  ~CountedCalls();
};

}  // namespace qm::testing
