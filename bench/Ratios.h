#pragma once

#include <functional>
#include <string>
#include <vector>

namespace qm::bench {

/// One way of doing a piece of work. `prepare` is not timed; `run` is, unless it measures itself and
/// answers the milliseconds.
struct Contender {
  std::string name;
  std::function<void()> prepare;
  std::function<void()> run;
  std::function<double()> measuredRun;  ///< instead of `run`
};

/// The same work done by the project, by the bare system calls that it cannot do without, and by others.
struct Comparison {
  std::string name;
  double bar = 0;  ///< how many times the limit ours may take at the most
  Contender ours;
  Contender limit;
  std::vector<Contender> peers;
  int rounds = 7;
};

/// Runs the contenders in turn, round after round, so that drift meets all of them, and prints medians
/// and ratios on one line a contender.
void compare(const Comparison& comparison);

}  // namespace qm::bench
