// SPDX-License-Identifier: MIT
#pragma once

#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// The program after its command line was parsed: examines, removes if requested, reports. Returns the exit status.
/// Called once, by the main thread, before any other thread exists.
int runProgram(const Options& options);

}  // namespace qm::removal
