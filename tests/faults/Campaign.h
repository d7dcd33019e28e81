// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/faults/FaultDriver.h"

namespace qm::testing {

/// The result that the work reported; none if it was killed or crashed.
enum class Said { Nothing, Failure, Success };

/// A violated rule, by its name: "I1" and what was found.
using Violations = std::map<std::string, std::string>;
/// Adds one, unless nothing ("") was found.
void noteFinding(Violations& violations, const std::string& rule, const std::string& finding);

/// How much is tried unless QM_FAULTS is in the environment: each error and each kill at each call, or a sample of
/// them, always the same one, in which errors and calls alternate.
enum class Extent { Everything, Sample };

/// Work that must keep certain rules whatever happens to its calls. Everything happens on a private machine.
struct Scenario {
  std::string name;
  std::vector<std::string> rules;
  Extent extent = Extent::Everything;
  /// Restores the disk to its initial state, whatever a run has left.
  std::function<void()> prepare;
  /// In a process of its own: returns whether it reports success.
  std::function<bool()> work;
  /// The result that it reports if nothing fails.
  Said undisturbed = Said::Success;
  std::function<Violations(Said)> judge;
  /// The next run, undisturbed, in a process of its own: mending, and the same work again.
  std::function<void()> nextRun;
  std::function<Violations()> judgeNextRun;
};

/// Runs a scenario once for each of its calls and each error that a disk or a machine may return for it. Prints one
/// line with the numbers and fails the running test for each rule that was violated, with the first places. With
/// QM_FAULTS=some in the environment every scenario is sampled, with QM_FAULTS=each none. With QM_FAULTS=all, calls for
/// memory, signals, clocks and further threads are included.
void failEveryCall(const Scenario& scenario);

/// The same, with the work and all its children killed before each call and after it.
void endAtEveryCall(const Scenario& scenario);

}  // namespace qm::testing
