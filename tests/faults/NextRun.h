#pragma once

namespace qm::testing {

/// What happens at the beginning of a run, before its first work: what another that was ended has left is put in
/// order.
inline void nextRun() {}

}  // namespace qm::testing
