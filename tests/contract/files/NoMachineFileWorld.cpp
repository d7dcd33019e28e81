// SPDX-License-Identifier: MIT

// Where no private machine can be made, the cases run on given volumes or are skipped.
#include "tests/contract/files/RealFileWorld.h"
#include "tests/support/PrivateMachine.h"

namespace qm::testing {

void runInMachine(const FileCase& /*body*/) { runInPrivateMachine({}); }

}  // namespace qm::testing
