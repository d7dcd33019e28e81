#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/faults/FaultDriver.h"

namespace qm::testing {

/// What the work said of itself; nothing, if it was ended or died.
enum class Said { Nothing, Failure, Success };

/// What does not hold, by the name of the rule that is broken: "I1" and what was found.
using Violations = std::map<std::string, std::string>;

/// How much is tried unless QM_FAULTS is in the environment: each error and each end at each call, or every so many of
/// them, the same ones each time, so that errors and calls come by in turn.
enum class Extent { Everything, Sample };

/// Work that is held to rules whatever becomes of its calls. All of it happens on a private machine.
struct Scenario {
  std::string name;
  std::vector<std::string> rules;
  Extent extent = Extent::Everything;
  /// Makes the disk what it was before, whatever a run has left.
  std::function<void()> prepare;
  /// In a process of its own: whether it reports success.
  std::function<bool()> work;
  /// What it reports where nothing fails.
  Said undisturbed = Said::Success;
  std::function<Violations(Said)> judge;
  /// What happens the next time, undisturbed, in a process of its own: mending, and the same work again.
  std::function<void()> nextRun;
  std::function<Violations()> judgeNextRun;
};

/// Carries a scenario out once for each of its calls and each error that a disk or a machine may answer it
/// with; prints one line with the numbers and fails the running test for each rule that was broken, with the
/// first places where. With QM_FAULTS=some in the environment every scenario is sampled, with QM_FAULTS=each none.
/// With QM_FAULTS=all, calls of memory, signals, clocks and further threads are among them, too.
void failEveryCall(const Scenario& scenario);

/// The same, with the end of the work and all its children before each call and after it.
void endAtEveryCall(const Scenario& scenario);

}  // namespace qm::testing
