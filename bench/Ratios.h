// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qm::bench {

/// One way of doing a piece of work. `prepare` is not timed; `run` is, unless it measures itself and returns the
/// milliseconds.
struct Contender {
  std::string name;
  std::function<void()> prepare;
  std::function<void()> run;
  std::function<double()> measuredRun;  ///< instead of `run`
};

/// The same work done by the project, by the bare system calls that it needs at least, and by other programs.
struct Comparison {
  std::string name;
  double bar = 0;  ///< the allowed maximum of ours divided by the limit
  Contender ours;
  Contender limit;
  std::vector<Contender> peers;
  int rounds = 7;
};

/// Runs the contenders in turn, round after round, so that drift affects all of them, and prints medians and ratios on
/// one line for each contender.
void compare(const Comparison& comparison);

}  // namespace qm::bench
