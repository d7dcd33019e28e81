#pragma once

#include <string>
#include <vector>

namespace qm::testing {

/// Which system calls count.
struct CallFilter {
  std::vector<long> passedOver;
  /// Whether those of a process's further threads count, too.
  bool ofThreads = true;
};

/// Every call that returns.
CallFilter allCalls();

/// Those of the first threads that change or read files, descriptors, processes and rights: without memory,
/// signals, clocks and what cannot fail.
CallFilter fileCalls();

/// From here on each call of this process that counts is shown to whoever traces it. For good, also in its
/// children: without a tracer these calls fail. False when the kernel refuses.
bool showCalls(const CallFilter& filter);

/// For messages: the call's name where it is a usual one, else its number.
std::string callName(long number);

/// A call that does nothing: what is counted lies between one with `true` and one with `false`.
inline constexpr long kMark = 32341;

}  // namespace qm::testing
