// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace qm::testing {

/// Which system calls are counted.
struct CallFilter {
  std::vector<long> passedOver;
  /// Whether those of a process's further threads are counted, too.
  bool ofThreads = true;
};

/// Every call that returns.
CallFilter allCalls();

/// Those of the first threads that change or read files, descriptors, processes and rights. Memory, signals, clocks and
/// calls that cannot fail are left out.
CallFilter fileCalls();

/// From here on every counted call of this process is reported to its tracer. Permanent, also in its children: without
/// a tracer these calls fail. Returns false if the kernel refuses.
bool showCalls(const CallFilter& filter);

/// For messages: the call's name if it is a common one, else its number.
std::string callName(long number);

/// A call that does nothing: the counted calls lie between one with `true` and one with `false`.
inline constexpr long kMark = 32341;

}  // namespace qm::testing
