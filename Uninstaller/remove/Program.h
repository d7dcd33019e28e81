#pragma once

#include "Uninstaller/remove/Options.h"

namespace qm::removal {

/// The program behind its command line: looks, removes if that is wanted, reports. Returns the exit status. Called
/// once, by the main thread, before any other thread exists.
int runProgram(const Options& options);

}  // namespace qm::removal
