// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

namespace qm::appkit {

/// One process of the program.
struct Instance {
  pid_t process = 0;
  std::optional<std::uint64_t> start;  ///< microseconds of the system's clock; null if the process does not exist
  bool hasEnded = false;               ///< it is known to have ended
};

/// A time of the system's clock in microseconds.
constexpr std::uint64_t microsecondsOf(std::uint64_t seconds, std::uint64_t microseconds) {
  return seconds * 1'000'000 + microseconds;
}

/// The instance to which this one leaves the work: the one that was started first. Null if that is this one, which then
/// continues to run. If two were started at the same time, the one with the lower process id counts as the first, so
/// that they never both end.
std::optional<pid_t> instanceToLeaveTo(const Instance& own, const std::vector<Instance>& running);

/// Prints that another instance runs and cannot be brought to the front. Returns the exit code for that.
int sayThatNobodyAnswers(const std::string& program);

/// Leaves the work to the instance that was started first, and returns the exit code for this process. Null if this
/// process continues to run. `running` lists the instances of the program with a bundle identifier. Without an
/// identifier other instances cannot be found. `activate` brings an instance to the front, and returns whether the
/// system has accepted that. If the instance has ended meanwhile, the system refuses, and this process continues to
/// run.
template <class Running, class Activate>
std::optional<int> leaveToFirstInstance(const std::optional<std::string>& identifier, const Instance& own,
                                        const std::string& program, Running running, Activate activate) {
  const auto find = [&] { return identifier ? instanceToLeaveTo(own, running(*identifier)) : std::nullopt; };
  const auto first = find();
  if (!first) return std::nullopt;
  if (activate(*first)) return EXIT_SUCCESS;
  return find() ? std::optional(sayThatNobodyAnswers(program)) : std::nullopt;
}

}  // namespace qm::appkit
